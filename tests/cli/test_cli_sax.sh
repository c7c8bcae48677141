# norvane sax: one event a line, streamed; malformed XML exits 1.
. "$(dirname "$0")/cli_lib.bash"

printf '<?xml version="1.0"?>\n<doc lang="en" note='"'"'say "hi"'"'"'>\n\t<p>a &amp; b<br/></p><!-- skip --><![CDATA[x\\y]]></doc>' >"$TMP/doc.xml"
expected='1 start ?xml version="1.0"
1 end ?xml
0 text \n
1 start doc lang="en" note="say \"hi\""
1 text \n\t
2 start p
2 text a & b
3 start br
3 end br
2 end p
1 text x\\y
1 end doc'
expect 0 "$expected" sax "$TMP/doc.xml"
run --stdin "$TMP/doc.xml" sax -
[ "$OUT" = "$expected" ] || fail "sax - (standard input) differs"
run --stdin "$TMP/doc.xml" sax
[ "$OUT" = "$expected" ] || fail "sax without FILE reads standard input"

# UTF-16 with a byte-order mark, and a code page from the declaration.
printf '\xff\xfe<\x00a\x00>\x00\xe9\x00<\x00/\x00a\x00>\x00' >"$TMP/utf16.xml"
expect 0 "1 start a
1 text é
1 end a" sax "$TMP/utf16.xml"
printf '<?xml version="1.0" encoding="windows-1252"?><a>\x80</a>' >"$TMP/cp.xml"
run sax "$TMP/cp.xml"
contains "1 text €"

# Malformed input: what was read comes first, then the error on stderr.
printf '<a><b></a>' >"$TMP/bad.xml"
run sax "$TMP/bad.xml"
[ "$STATUS" = 1 ] || fail "malformed XML exited $STATUS"
[ "$ERR" = "norvane: Incorrect XML at position 6" ] || fail "stderr is [$ERR]"
[ "$OUT" = "1 start a
2 start b" ] || fail "the events before the error are missing: [$OUT]"

expect_error 2 "cannot read '$TMP/none.xml': No such file or directory" sax "$TMP/none.xml"
expect_error 2 "sax: too many arguments (usage: norvane sax [FILE|-])" sax a b
run help sax
contains "DEPTH start NAME"

finish
