# Helpers shared by the command-line tests. Each test script is run as
#   bash SCRIPT PATH-TO-NORVANE SOURCE-DIR
# and sources this file. Failures are counted; `finish` sets the exit status.

NORVANE=${1:?usage: $0 PATH-TO-NORVANE SOURCE-DIR}
SOURCE_DIR=${2:-.}
FAILURES=0
TMP=$(mktemp -d)
trap 'rm -rf "$TMP"' EXIT

fail() {
  echo "FAIL: $*" >&2
  FAILURES=$((FAILURES + 1))
}

# run [--stdin FILE] ARGS...: runs norvane; sets OUT, ERR and STATUS.
run() {
  local input=/dev/null
  if [ "$1" = --stdin ]; then input=$2; shift 2; fi
  "$NORVANE" "$@" <"$input" >"$TMP/out" 2>"$TMP/err"
  STATUS=$?
  OUT=$(tr -d '\000' <"$TMP/out")  # a NUL in the text would only upset the shell
  ERR=$(cat "$TMP/err")
}

# expect STATUS EXPECTED-STDOUT ARGS...: exact stdout and exit status.
expect() {
  local status=$1 expected=$2
  shift 2
  run "$@"
  if [ "$STATUS" != "$status" ]; then
    fail "norvane $* exited $STATUS, expected $status (stderr: $ERR)"
  elif [ "$OUT" != "$expected" ]; then
    fail "norvane $*: stdout differs"
    diff <(printf '%s\n' "$expected") <(printf '%s\n' "$OUT") >&2
  fi
}

# expect_error STATUS MESSAGE ARGS...: exactly one stderr line "norvane: MESSAGE".
expect_error() {
  local status=$1 message=$2
  shift 2
  run "$@"
  if [ "$STATUS" != "$status" ]; then
    fail "norvane $* exited $STATUS, expected $status"
  fi
  if [ "$ERR" != "norvane: $message" ]; then
    fail "norvane $*: stderr is [$ERR], expected [norvane: $message]"
  fi
}

# contains TEXT: the last run's stdout holds TEXT.
contains() {
  case "$OUT" in
    *"$1"*) ;;
    *) fail "output of the last run lacks [$1]"; printf '%s\n' "$OUT" >&2 ;;
  esac
}

finish() {
  if [ "$FAILURES" -ne 0 ]; then
    echo "$FAILURES failure(s) in $(basename "$0")" >&2
    exit 1
  fi
  echo "all passed: $(basename "$0")"
}
