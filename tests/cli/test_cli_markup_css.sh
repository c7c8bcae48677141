# The markup and CSS commands: html --tokens, color, css --tokens, measure.
. "$(dirname "$0")/cli_lib.bash"

printf '<p title="x &amp; y">a&lt;b<br/>\n<script>if (a<b) f();</script>' >"$TMP/page.html"
expect 0 "htTagStart	<
htIdent	p
htSpace	p
htIdent	title
htEq	=
htString	x & y
htTagEnd	>
htString	a<b
htTagStart	<
htIdent	br
htTagClose	/
htTagEnd	>
htString	\\n
htTagStart	<
htIdent	script
htScript	if (a<b) f();
htTagStart	<
htTagClose	/
htIdent	script
htTagEnd	>" html --tokens "$TMP/page.html"
expect_error 2 "html: unknown option '--bogus'" html --bogus

# Colours: ARGB and the name back; 00000001 (no colour) exits 1.
while IFS='|' read -r text argb name; do
  expect 0 "$argb	$name" color "$text"
done <<'CASES'
red|FFFF0000|#ff0000
#0f0|FF00FF00|#00ff00
transparent|00FFFFFF|#ffffff00
CASES
run color indigo  # kept with a trailing blank in the table, so unknown
[ "$STATUS" = 1 ] || fail "color indigo exited $STATUS"

printf 'a{width:calc(50%% + 10px)}' >"$TMP/sheet.css"
run --stdin "$TMP/sheet.css" css --tokens -
contains "ctPercentage	50%	50	muPercent"
contains "ctDimension	10px	10	muPX"

# Measures: zoomed pixels, unzoomed pixels, the text.
expect 0 "32
32
2em" measure 2em
expect 0 "110
110
110px" measure "calc(50% + 10px)" --parent 200
expect 0 "32
16
12pt" measure 12pt --zoom 2
expect_error 2 "measure: --zoom wants a number, not 'x'" measure 1px --zoom x

finish
