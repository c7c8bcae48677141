# `norvane eval`: one script expression, evaluated or shown as postfix.
. "$(dirname "$0")/cli_lib.bash"

expect 0 "7" eval "1 + 2 * 3"
expect 0 "3.5" eval "7 / 2"
expect 0 "ab" eval "'a' + 'b'"
expect 0 "True" eval "'c' in ['a'..'z']"
expect 0 "[1, x, 2.5]" eval "[1, 'x', 2.5]"
expect 0 "1..5" eval "1..5"
expect 0 "hi
3" eval "Writeln('hi') + Length('abc')"
expect 0 "1 2 3 * +" eval --postfix "1 + 2 * 3"
run eval "1 div 0"
[ "$STATUS" = 1 ] || fail "eval of 1 div 0 exited $STATUS"
case "$ERR" in "Division by zero"*) ;; *) fail "eval 1 div 0: stderr '$ERR'" ;; esac
run eval "(1 + 2"
[ "$STATUS" = 1 ] || fail "eval of (1 + 2 exited $STATUS"
case "$ERR" in ") expected"*) ;; *) fail "eval (1 + 2: stderr '$ERR'" ;; esac
run eval
[ "$STATUS" = 2 ] || fail "eval without an expression exited $STATUS"

finish
