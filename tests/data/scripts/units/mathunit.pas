unit MathUnit;
interface
function Square(x: integer): integer;
function Cube(x: integer): integer;
implementation
function Square(x: integer): integer;
begin
  result := x * x;
end;
function Cube(x: integer): integer;
begin
  result := Square(x) * x;
end;
initialization
  Writeln('unit initialization never runs');
end.
