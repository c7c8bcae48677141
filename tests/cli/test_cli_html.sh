# norvane html: parse a document as a host would and print it back, as HTML,
# laid-out HTML, text or raw text.
. "$(dirname "$0")/cli_lib.bash"

CR=$'\r'
printf '<!DOCTYPE html><html><head><meta charset=utf-8><title>T</title></head><body><p class=a>Caf\xc3\xa9 &amp; <b>bold</b><br>next</p><ul><li>one<li>two</ul><!-- note --><script>if (a<b) f();</script></body></html>' >"$TMP/page.html"

outer='<html><head><meta charset="utf-8"/><title>T</title></head><body><p class="a">Café &amp; <b>bold</b><br/>next</p><ul><li>one</li><li>two</li></ul><!---- note --><script>if (a<b) f();</script></body></html>'
expect 0 "$outer" html "$TMP/page.html"
expect 0 "$outer" html --outer "$TMP/page.html"
expect 0 "$outer" html --inner "$TMP/page.html"  # the root holds no tag of its own
run --stdin "$TMP/page.html" html -
[ "$OUT" = "$outer" ] || fail "html - reads standard input"

expect 0 "<html>$CR
  <head>$CR
    <meta charset=\"utf-8\"/>$CR
    <title>T</title>$CR
  </head>$CR
  <body>$CR
    <p class=\"a\">Café &amp; <b>bold</b><br/>next</p>$CR
    <ul>$CR
      <li>one</li>$CR
      <li>two</li>$CR
    </ul>$CR
    <!---- note --><script>if (a<b) f();</script>$CR
  </body>$CR
</html>" html --formatted "$TMP/page.html"

expect 0 "TCafé & bold$CR
next$CR
one$CR
two" html --text "$TMP/page.html"
expect 0 "TCafé & boldnextonetwo" html --raw-text "$TMP/page.html"

# Text without a document element gets a body; the output is what the
# library gives, with no line break added.
printf 'a < b' >"$TMP/plain.html"
expect 0 '<body>a &lt; b</body>' html "$TMP/plain.html"
expect 0 'a < b' html --text "$TMP/plain.html"

# Encodings: a meta charset re-decodes bytes of no known encoding, a UTF-16
# byte-order mark decides, bytes that aren't UTF-8 come in as the system code
# page (Windows-1252).
printf '<html><head><meta http-equiv="Content-Type" content="text/html; charset=koi8-r"></head><body>\xf0\xd2\xc9\xd7\xc5\xd4</body></html>' >"$TMP/koi8.html"
expect 0 'Привет' html --text "$TMP/koi8.html"
expect 0 '<html><head><meta http-equiv="Content-Type" content="text/html;"/></head><body>Привет</body></html>' html "$TMP/koi8.html"
printf '\xff\xfe<\x00p\x00>\x00\xe9\x00<\x00/\x00p\x00>\x00' >"$TMP/utf16.html"
expect 0 '<body><p>é</p></body>' html "$TMP/utf16.html"
printf '<p>caf\xe9 \x80</p>' >"$TMP/ansi.html"
expect 0 '<body><p>café &euro;</p></body>' html "$TMP/ansi.html"

# Repairs show in the output.
printf '<table><td>1<td>2</table><b><i>x</b>y</i>' >"$TMP/broken.html"
expect 0 '<body><table><tr><td>1</td><td>2</td></tr></table><b><i>x</i></b><i>y</i></body>' html "$TMP/broken.html"

# The token listing is still there.
expect 0 "htTagStart	<
htIdent	br
htTagClose	/
htTagEnd	>" html --tokens <(printf '<br/>')

expect_error 2 "html: choose one of --outer, --inner, --formatted, --text, --raw-text, --tokens" html --outer --text "$TMP/page.html"
expect_error 2 "html: unknown option '--bogus'" html --bogus
run html "$TMP/missing.html"
[ "$STATUS" = 2 ] || fail "a missing file exits $STATUS, expected 2"
run html --help
contains "--formatted"
contains "--raw-text"

finish
