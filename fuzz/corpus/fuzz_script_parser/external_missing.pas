// The library is looked for at the first call, not at parse time.
function Nothing(x: integer): integer; external 'libnv-no-such-library.so';
begin
  Writeln('before');
  Writeln(Nothing(1));
end
