// A program that uses a unit read from mathunit.pas beside it; the unit's
// initialization part never runs.
program Units;
uses mathunit;
begin
  Writeln(Square(12));
  Writeln(Cube(3));
end
