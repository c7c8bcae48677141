# Whole script programs run through `norvane run`: each NAME.pas under
# tests/data/scripts has its expected standard output in NAME.out and, when
# it is meant to fail, its expected standard error in NAME.err (exit 1).
. "$(dirname "$0")/cli_lib.bash"

DIR="$SOURCE_DIR/tests/data/scripts"
# The test library of `external` functions is built beside norvane.
export LD_LIBRARY_PATH="$(dirname "$NORVANE")${LD_LIBRARY_PATH:+:$LD_LIBRARY_PATH}"

for script in "$DIR"/*.pas; do
  name=$(basename "$script" .pas)
  "$NORVANE" run "$script" >"$TMP/out" 2>"$TMP/err"
  status=$?
  want=0
  [ -f "$DIR/$name.err" ] && want=1
  if [ "$status" != "$want" ]; then
    fail "$name: exit status $status, expected $want (stderr: $(head -3 "$TMP/err"))"
    continue
  fi
  if ! cmp -s "$DIR/$name.out" "$TMP/out"; then
    fail "$name: standard output differs"
    diff "$DIR/$name.out" "$TMP/out" >&2
  fi
  if [ "$want" = 1 ] && ! cmp -s "$DIR/$name.err" "$TMP/err"; then
    fail "$name: standard error differs"
    diff "$DIR/$name.err" "$TMP/err" >&2
  fi
done

# Units come from NAME.pas beside the script.
"$NORVANE" run "$DIR/units/main.pas" >"$TMP/out" 2>"$TMP/err" || fail "units: exit status $? ($(cat "$TMP/err"))"
cmp -s "$DIR/units/main.out" "$TMP/out" || { fail "units: standard output differs"; diff "$DIR/units/main.out" "$TMP/out" >&2; }

# The script may come on standard input; --check parses and compiles only.
printf 'Writeln(6 * 7);' >"$TMP/s.pas"
expect 0 "42" --stdin "$TMP/s.pas" run -
expect 0 "" run --check "$TMP/s.pas"

# A syntax error: message with line on stderr, exit 1, nothing run.
printf 'Writeln(1);\nif x then y := 1; else y := 2;\n' >"$TMP/bad.pas"
run run "$TMP/bad.pas"
[ "$STATUS" = 1 ] || fail "syntax error exited $STATUS"
[ -z "$OUT" ] || fail "a script with a syntax error ran: [$OUT]"
case "$ERR" in
  *"Unexpected token else at line 2"*) ;;
  *) fail "syntax error message: [$ERR]" ;;
esac

# Tolerant mode reports every error and runs nothing.
printf 'x := ;\ny := 1 2;\nbreak;\n' >"$TMP/many.pas"
run run --tolerant --check "$TMP/many.pas"
[ "$STATUS" = 1 ] || fail "tolerant check with errors exited $STATUS"
[ "$(printf '%s\n' "$ERR" | grep -c '^error: ')" -ge 3 ] || fail "tolerant check reported: [$ERR]"
case "$ERR" in
  *"BREAK/CONTINUE should be used inside loop only"*) ;;
  *) fail "break outside a loop not reported: [$ERR]" ;;
esac

# A warning goes to stderr and the script still runs.
printf 'begin Writeln(1); end;\nend.\nmore' >"$TMP/tail.pas"
run run "$TMP/tail.pas"
[ "$STATUS" = 0 ] && [ "$OUT" = 1 ] || fail "text after the final end: status $STATUS, output [$OUT]"
case "$ERR" in
  *"warning: Text after final end - ignored"*) ;;
  *) fail "no warning for text after the final end: [$ERR]" ;;
esac

finish
