// Runaway recursion stops with a script error, not a crash.
function Down(n: integer): integer;
begin
  result := Down(n + 1);
end;
begin
  Writeln('start');
  Down(0);
end
