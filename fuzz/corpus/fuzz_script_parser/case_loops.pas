// case on strings and numbers (labels are expressions, tested in order),
// case as an expression, while/repeat with break and continue.
function Kind(s: string): string;
begin
  case LowerCase(s) of
    'apple', 'pear': result := 'fruit';
    'carrot': result := 'vegetable';
  else
    result := 'unknown';
  end;
end;

function Size(n: integer): string;
begin
  // A range label is a value, not a test of membership: 1..5 never equals 3.
  case n of
    1..5: result := 'range';
    3: result := 'three';
    2 * 5: result := 'ten';
  else result := 'other';
  end;
end;

var i, total: integer; w: string;
begin
  Writeln(Kind('Apple'), ' ', Kind('carrot'), ' ', Kind('stone'));
  Writeln(Size(3), ' ', Size(10), ' ', Size(4));
  w := case 2 of 1: 'one'; 2: 'two' else 'many' end;
  Writeln(w);
  w := if total = 0 then 'zero' else 'more';
  Writeln(w);
  total := 0;
  i := 0;
  while true do
  begin
    i := i + 1;
    if i > 10 then break;
    if Odd(i) then continue;
    total := total + i;
  end;
  Writeln(total);
  i := 0;
  repeat
    i += 3;
  until i > 10;
  Writeln(i);
  for i := 3 downto 1 do Write(i);
  Writeln(' ', i);
  for i := 5 to 1 do Writeln('never');
  Writeln(i);
end
