# The style sheet command: rules written back, compiled longhands, minified.
source "$(dirname "$0")/cli_lib.bash"

cat >"$TMP/sheet.css" <<'CSS'
@import url(base.css) print;
/* junk between rules is skipped */ ; }
a, b > c { margin: 0 auto; color: red !important; *zoom: 1; -webkit-foo: 1 }
@media screen and (max-width: 600px) { .x { font: italic bold 12px/30px Arial } }
@keyframes spin { from { top: 0 } to { top: 10px } }
d { color: nosuchcolour; border: 1px solid
CSS

# By default: the sheet written back, what was dropped gone.
expect 0 "@import url('base.css') print;
a, b > c {
  margin: 0 auto;
  color: red !important;
  -webkit-foo: 1;
}
@media screen and (max-width: 600px) {
  .x {
    font: italic bold 12px / 30px Arial;
  }
}
d {
  border: 1px solid;
}
@keyframes spin {
  from {
    top: 0;
  }
  to {
    top: 10px;
  }
}" css "$TMP/sheet.css"

# The longhands, one a line; vendor-prefixed properties don't compile.
expect 0 "a, b > c
  margin-top: 0
  margin-right: auto
  margin-bottom: 0
  margin-left: auto
  color: red !important
@media screen and (max-width: 600px) .x
  font: italic bold 12px / 30px Arial
  font-style: italic
  font-weight: bold
  font-size: 12px
  line-height: 30px
  font-family: Arial
d
  border: 1px solid
  border-width: 1px
  border-top-style: solid
  border-right-style: solid
  border-bottom-style: solid
  border-left-style: solid
@keyframes spin
from
  top: 0
to
  top: 10px" css --compiled "$TMP/sheet.css"

expect 0 "@import url('base.css') print;a,b > c{margin:0 auto;color:red!important;-webkit-foo:1}@media screen and (max-width: 600px){.x{font:italic bold 12px/30px Arial}}d{border:1px solid}@keyframes spin{from{top:0}to{top:10px}}" \
  css --minify "$TMP/sheet.css"

# Standard input; the minified text reads back to the same sheet.
run css --minify "$TMP/sheet.css"
printf '%s' "$OUT" >"$TMP/min.css"
run --stdin "$TMP/min.css" css -
first=$OUT
run css "$TMP/sheet.css"
[ "$first" = "$OUT" ] || fail "the minified sheet doesn't read back to the same rules"

# Nothing in a sheet is an error; an empty sheet prints nothing.
printf '}}} {{{ @media ((( ' >"$TMP/junk.css"
expect 0 "" css --compiled "$TMP/junk.css"
expect 0 "" --stdin /dev/null css -

# The token listing stays.
printf 'a{x:1}' >"$TMP/t.css"
run css --tokens "$TMP/t.css"
contains "ctIdent	a"
contains "ctBlockEnd	}"

expect_error 2 "css: --tokens, --compiled and --minify exclude each other" css --tokens --minify "$TMP/t.css"
run css "$TMP/none.css"
[ "$STATUS" = 2 ] || fail "a missing file exited $STATUS"

finish
