# norvane css-prop: records of the CSS property table.
. "$(dirname "$0")/cli_lib.bash"

# A shorthand: its longhands in assignment order; a percentage of a
# vertical margin refers to the container's width as the others do.
expect 0 "name	margin
id	cspMargin
type	length
parent	container-width
inherited	false
default	0
layout	true
sub-properties	margin-top margin-right margin-bottom margin-left" css-prop margin

# Case is folded as the parser folds it; opacity defaults to 1.
expect 0 "name	opacity
id	cspOpacity
type	number
parent	width
inherited	false
default	1
layout	false
sub-properties	" css-prop OPACITY

# A keyword property lists its values; ordinal 0 is the initial value.
run css-prop position
[ "$STATUS" = 0 ] || fail "css-prop position exited $STATUS"
contains "enumeration	TElementPosition
prefix	ep
value	0	static	epStatic
value	1	relative	epRelative"
contains "value	4	sticky	epSticky"
run css-prop cursor
contains "value	32	nesw-resize	ecNESWResize"
run css-prop border-top
contains "layout	false"  # unlike border-left
run css-prop border-left
contains "layout	true"

# The SVG properties have no record; an unknown name exits 1.
expect_error 1 "css-prop: 'fill' is not a property of the table" css-prop fill
expect_error 1 "css-prop: 'Bogus' is not a property of the table" css-prop Bogus
expect_error 2 "css-prop: unknown option '--bogus'" css-prop --bogus

# --list: every record, "unknown" first.
run css-prop --list
[ "$STATUS" = 0 ] || fail "css-prop --list exited $STATUS"
[ "$(printf '%s\n' "$OUT" | wc -l)" = 150 ] || fail "css-prop --list gave $(printf '%s\n' "$OUT" | wc -l) lines"
[ "$(printf '%s\n' "$OUT" | head -1)" = "unknown	number" ] || fail "css-prop --list starts with the wrong row"
contains "font	complex"

finish
