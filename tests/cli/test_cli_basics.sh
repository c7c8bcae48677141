# The command line itself: dispatch, help texts, exit statuses, input.
. "$(dirname "$0")/cli_lib.bash"

COMMANDS="report help date number tokens"

# No arguments: the report on the bundled example.
run
[ "$STATUS" = 0 ] || fail "norvane without arguments exited $STATUS: $ERR"
contains "report on the bundled example"
contains "ordered   date    31.12.99          -> 1999-12-31 00:00:00"
contains "weight    number  12,5              -> 12.5"
[ -z "$ERR" ] || fail "norvane without arguments wrote to stderr: $ERR"

# The command list, three ways.
run --help
LIST=$OUT
[ "$STATUS" = 0 ] || fail "--help exited $STATUS"
for c in $COMMANDS; do contains "  $c "; done
run help
[ "$OUT" = "$LIST" ] || fail "'norvane help' differs from 'norvane --help'"
run -h
[ "$OUT" = "$LIST" ] || fail "'norvane -h' differs from 'norvane --help'"

# Every command has its own help, also reachable through "help NAME".
for c in $COMMANDS; do
  run "$c" --help
  [ "$STATUS" = 0 ] || fail "norvane $c --help exited $STATUS"
  case "$OUT" in "usage: norvane $c "*) ;; *) fail "norvane $c --help: [$OUT]" ;; esac
  HELP=$OUT
  run help "$c"
  [ "$OUT" = "$HELP" ] || fail "'norvane help $c' differs from 'norvane $c --help'"
done
run date 31.12.99 --help  # --help anywhere wins
[ "$STATUS" = 0 ] && contains "usage: norvane date"

# Bad command lines: one line on stderr, status 2.
expect_error 2 "unknown command 'frobnicate' (run 'norvane --help' for the list)" frobnicate
expect_error 2 "date: missing argument (usage: norvane date TEXT [MASK])" date
expect_error 2 "date: too many arguments (usage: norvane date TEXT [MASK])" date a b c
expect_error 2 "number: unknown option '--fast'" number --fast 1
expect_error 2 "unknown command 'nope' (run 'norvane --help' for the list)" help nope
expect_error 2 "cannot read '$TMP/missing.txt': No such file or directory" tokens "$TMP/missing.txt"
expect_error 2 "cannot read '/': Is a directory" report /
[ -z "$OUT" ] || fail "a failed read printed [$OUT]"

# "--" ends the options, so a text may look like one.
expect 1 "iStrtoFloat: 0" number -- --help

# Input: a file, "-" for stdin, UTF-8 with or without a mark, UTF-16 marks.
printf 'due: 2024-05-01\n' >"$TMP/plain.txt"
printf '\xef\xbb\xbfdue: 2024-05-01\n' >"$TMP/bom8.txt"
printf '\xff\xfed\0u\0e\0:\0 \0002\0000\0002\0004\0-\0000\0005\0-\0000\0001\0\n\0' >"$TMP/le16.txt"
printf '\xfe\xff\0d\0u\0e\0:\0 \0002\0000\0002\0004\0-\0000\0005\0-\0000\0001\0\n' >"$TMP/be16.txt"
for f in plain bom8 le16 be16; do
  run report "$TMP/$f.txt"
  [ "$STATUS" = 0 ] || fail "report $f.txt exited $STATUS: $ERR"
  contains "due       date    2024-05-01        -> 2024-05-01 00:00:00"
  run --stdin "$TMP/$f.txt" report -
  contains "report on standard input"
  contains "due       date    2024-05-01        -> 2024-05-01 00:00:00"
done

# Broken UTF-8 and binary junk are read, not fatal.
printf 'a \xff\xfe\x00 b\x80\n\xc3' >"$TMP/junk.bin"
run tokens "$TMP/junk.bin"
[ "$STATUS" = 0 ] || fail "tokens on junk exited $STATUS: $ERR"
run report "$TMP/junk.bin"
[ "$STATUS" = 0 ] || fail "report on junk exited $STATUS: $ERR"
: >"$TMP/empty.txt"
expect 0 "" tokens "$TMP/empty.txt"

finish
