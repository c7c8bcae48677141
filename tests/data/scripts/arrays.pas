// Array literals, indexing, for..in over arrays, SetLength.
var
  a: array of integer;
  i, sum: integer;
  names: variant;

begin
  a := [3, 1, 4, 1, 5, 9, 2, 6];
  sum := 0;
  for i := 0 to High(a) do
    sum := sum + a[i];
  Writeln('sum=', sum, ' len=', Length(a));
  for var v in a index k do
    if v > 4 then Write(k, ':', v, ' ');
  Writeln();
  names := ['ann', 'bob'];
  SetLength(names, 3);
  names[2] := 'cyd';
  for var n in names do Write(UpperCase(n), ' ');
  Writeln();
  if 4 in a then Writeln('4 is in');
  if not (7 in a) then Writeln('7 is not');
  if 'q' in ['a'..'z'] then Writeln('q is a letter');
end
