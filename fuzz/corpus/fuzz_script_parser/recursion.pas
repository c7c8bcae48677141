program Recursion;

function Fact(n: integer): integer;
begin
  if n < 2 then
    result := 1
  else
    result := n * Fact(n - 1);
end;

function Fib(n: integer): integer;
var
  a, b: integer;
begin
  if n < 2 then
    exit(n);
  a := Fib(n - 1);
  b := Fib(n - 2);
  result := a + b;
end;

// Mutual recursion through functions declared in order.
function Ackermann(m, n: integer): integer;
begin
  if m = 0 then
    result := n + 1
  else if n = 0 then
    result := Ackermann(m - 1, 1)
  else
    result := Ackermann(m - 1, Ackermann(m, n - 1));
end;

var i: integer;
begin
  for i := 0 to 6 do
    Write(Fact(i), ' ');
  Writeln();
  Writeln(Fib(15));
  Writeln(Ackermann(2, 3));
  Writeln(i);
end
