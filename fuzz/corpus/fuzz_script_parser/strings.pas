// String building: concatenation, compound assignment, characters, loops.
var
  s, line: string;
  i, n: integer;
  greeting: string = 'Hello' + ', ' + 'world';

function Dup(const s: string; count: integer): string;
var i: integer;
begin
  result := '';
  for i := 1 to count do
    result := result + s;
end;

function Reverse(s: string): string;
var c: string;
begin
  result := '';
  for c in s do
    result := c + result;
end;

begin
  Writeln(greeting);
  s := '';
  for i := 1 to 5 do
    s += IntToStr(i);
  Writeln(s);
  Writeln(Dup('ab', 3));
  Writeln(Reverse('stressed'));
  line := 'x' + #13#10 + "double ""quoted""";
  Writeln(Length(line));
  n := 0;
  for var ch in 'banana' index k do
    if ch = 'a' then n := n + k;
  Writeln(n);
  Writeln(Copy('abcdef', 2, 3), UpperCase('mixed'), Pos('c', 'abc'));
end
