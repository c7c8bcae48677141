// var parameters (copy in, copy out), default values, recursion through
// var parameters, anonymous functions stored in variables (the host calls
// them; a script holds them as values).
procedure Swap(var a, b: integer);
var t: integer;
begin
  t := a;
  a := b;
  b := t;
end;

procedure Bump(var n: integer; by: integer = 1);
begin
  n := n + by;
end;

function Greet(name: string; greeting: string = 'Hello'): string;
begin
  result := greeting + ', ' + name;
end;

// Each level sees its own n after the inner call returns.
procedure CountDown(n: integer; var trail: string);
begin
  if n = 0 then exit;
  CountDown(n - 1, trail);
  trail := trail + IntToStr(n);
end;

var
  x, y: integer;
  twice, compose: variant;
  trail: string;
begin
  x := 1;
  y := 2;
  Swap(x, y);
  Writeln(x, ' ', y);
  Bump(x);
  Bump(x, 10);
  Writeln(x);
  Writeln(Greet('Ann'), '; ', Greet('Bob', 'Hi'));
  twice := function(n: integer): integer begin result := n * 2 end;
  compose := function(n: integer): integer
    begin
      result := n + 1;
      y := 1000;
    end;
  Writeln(Assigned(twice), ' ', Assigned(compose), ' ', y);
  trail := '>';
  CountDown(4, trail);
  Writeln(trail);
end
