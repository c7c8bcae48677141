program Demo;
uses System.Classes, Utils;
const Max = 10; Hex = $FF; Bits = %1011;
var i, n: integer; s: string = 'a' + 'b'; d: double = 1.5e3;
function Add(a, b: integer = 2): integer;
begin
  result := a + b;
end;
begin
  for i := 1 to Max do
  begin
    n += Add(i, -1) * 2;
    if (n mod 3 = 0) and not (n > 100) then continue;
  end;
  s := s + #13#10#$41 + "double ""quoted""";
  $('#id').text := 'x';
end.
