# The foundation commands: date, number, tokens.
. "$(dirname "$0")/cli_lib.bash"

# date TEXT [MASK]: the mask follows from the text's form when not given.
while IFS='|' read -r text mask expected; do
  if [ -n "$mask" ]; then expect 0 "$expected" date "$text" "$mask"; else expect 0 "$expected" date "$text"; fi
done <<'CASES'
31.12.99||1999-12-31 00:00:00
31.12.59||2059-12-31 00:00:00
01.01.60||1960-01-01 00:00:00
31.12.2024||2024-12-31 00:00:00
29.02.2024||2024-02-29 00:00:00
2024-03-15||2024-03-15 00:00:00
12/31/2024||2024-12-31 00:00:00
31-Dec-2024||2024-12-31 00:00:00
31.12.2024 23:59:30||2024-12-31 23:59:30
15.04.2024 09:30||2024-04-15 09:30:00
7 Mar 2024|d mmm yyyy|2024-03-07 00:00:00
2024/07/04 1:05 pm|yyyy/mm/dd h:nn pm|2024-07-04 01:05:00
2024/07/04 1:05 am|yyyy/mm/dd h:nn pm|2024-07-04 13:05:00
CASES
# The afternoon flag follows an "a" in the text (kept from the original
# date reader), and only a lower-case one.
expect 0 "2024-07-04 01:05:00" date "2024/07/04 1:05 AM" "yyyy/mm/dd h:nn pm"
# A "yyyy" that meets two digits and a separator reads them as "yy".
expect 0 "2031-12-20 00:00:00" date 31.12.2024 yyyy-mm-dd
# An empty text is day 0 of the calendar, not an error.
expect 0 "1899-12-30 00:00:00" date ""

# A text that does not fit: the library's message and status 1.
expect_error 1 "Date/time string '32.12.2024' does not match mask 'dd.mm.yyyy'" date 32.12.2024
expect_error 1 "Date/time string '2024-13-01' does not match mask 'yyyy-mm-dd'" date 2024-13-01
expect_error 1 "Date/time string '24:00' does not match mask 'hh:nn'" date 24:00 hh:nn
[ -z "$OUT" ] || fail "a failed date printed [$OUT]"

# number TEXT: the lenient and the strict reader, one line each.
while IFS='|' read -r text lenient strict; do
  expect 0 "iStrtoFloat: $lenient
StrtoFloatCheck: $strict" number "$text"
done <<'CASES'
1.5|1.5|1.5
-2.5e1|-25|-25
0.1|0.1|0.1
1 250.5|0|1250.5
12345678901|12345678901|12345678901
1 000 000|0|1000000
CASES
# The strict reader skips its thousand separator, trailing ones included.
expect 0 "iStrtoFloat: 0
StrtoFloatCheck: 2" number "2 "
# The strict reader refuses; the lenient line is still printed.
while IFS='|' read -r text lenient; do
  expect 1 "iStrtoFloat: $lenient" number "$text"
  [ "$ERR" = "norvane: StrtoFloatCheck: Invalid number $text" ] || fail "number $text: stderr [$ERR]"
done <<'CASES'
1,5|1.5
1.5e+2|0
1e17|0
abc|0
CASES

# tokens: words and numbers with their line and column.
printf 'a 1..5, 2.5e1\n  -7 x(y)\n' >"$TMP/t.txt"
expect 0 "1:1	word	a
1:3	int	1	1
1:4	word	..5
1:7	word	,
1:9	float	2.5e1	25
2:3	int	-7	-7
2:6	word	x
2:7	word	(y
2:9	word	)" tokens "$TMP/t.txt"
run --stdin "$TMP/t.txt" tokens -
[ "$STATUS" = 0 ] || fail "tokens - exited $STATUS"
contains "1:9	float	2.5e1	25"

finish
