# The data commands: json, xml and xpath.
. "$(dirname "$0")/cli_lib.bash"

# JSON: scalars of an object first, as strings; array items joined by "," CR LF.
printf '{"b":[1,{"c":true}], a: \x27x\x27}' >"$TMP/doc.json"
expect 0 $'{"a":"x","b":["1",\r\n{"c":"true"}]}' json "$TMP/doc.json"
expect 0 '<object a="x"><b><value>1</value><object c="true"/></b></object>' json --xml "$TMP/doc.json"
run --stdin "$TMP/doc.json" json -
contains '"a":"x"'
printf '{"a":1,}' >"$TMP/bad.json"
expect_error 1 "Name/Value expected after comma" json "$TMP/bad.json"
printf '[1,]' >"$TMP/bad2.json"
expect_error 1 "Incorrect JSON, token expected." json "$TMP/bad2.json"
expect_error 1 "JSON is empty" json /dev/null

# XML: attributes in name order; formatted with CR LF; JSON of a tree.
printf '<?xml version="1.0" encoding="ISO-8859-1"?>\n<r><i z="2" id="1">\xe9</i><!-- c --><i id="2"><n>b</n></i></r>' >"$TMP/doc.xml"
expect 0 '<r><i id="1" z="2">é</i><!-- c --><i id="2"><n>b</n></i></r>' xml "$TMP/doc.xml"
expect 0 $'<r>\r\n  <i id="1" z="2">é</i>\r\n  <!-- c -->\r\n  <i id="2">\r\n    <n>b</n>\r\n  </i>\r\n</r>' \
  xml --formatted "$TMP/doc.xml"
expect 0 '{"i":{"id":"1","z":"2"},"i":{"id":"2","n":"b"}}' xml --json "$TMP/doc.xml"
printf '<a><b></a>' >"$TMP/bad.xml"
expect_error 1 "Tag order error: /b expected, /a found at position 0" xml "$TMP/bad.xml"
expect_error 2 "xml: --json and --formatted exclude each other" xml --json --formatted "$TMP/doc.xml"

# Path queries over XML (the default), JSON and HTML.
expect 0 'b' xpath --value 'i[@id="2"]/n' "$TMP/doc.xml"
expect 0 '<i id="1" z="2">é</i>
<i id="2"><n>b</n></i>' xpath '//i' "$TMP/doc.xml"
expect 0 '<value>1</value>' xpath --json 'b/value' "$TMP/doc.json"
expect 0 'true' xpath --json --value 'b/object/@c' "$TMP/doc.json"
printf '<p>a<b class=x>y</b></p>' >"$TMP/page.html"
expect 0 '<b class="x">y</b>' xpath --html '//b' "$TMP/page.html"
run --stdin "$TMP/doc.xml" xpath '//n'
contains '<n>b</n>'
expect 0 '' xpath '//nothing' "$TMP/doc.xml"
expect_error 2 "xpath: choose one of --html, --xml and --json" xpath --html --xml a "$TMP/doc.xml"

finish
