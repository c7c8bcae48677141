// Functions of shared libraries: the C library and the project's test
// library (found through the library path the test sets).
function CAbs(x: integer): integer; external 'libc.so.6' name 'abs';
function Add3(a, b, c: integer): integer; external 'libnvscripttest.so' name 'nv_add3';
function Utf16Len(s: widestring): integer; external 'libnvscripttest.so' name 'nv_utf16_len';
function CountUnit(s: pchar; unitcode: integer): integer; external 'libnvscripttest.so' name 'nv_count_unit';
function IsEven(v: integer): boolean; external 'libnvscripttest.so' name 'nv_is_even';
function Negate16(v: smallint): smallint; external 'libnvscripttest.so' name 'nv_negate16';
procedure Bump; external 'libnvscripttest.so' name 'nv_bump';
function Counter: integer; external 'libnvscripttest.so' name 'nv_counter';

begin
  Writeln(CAbs(-42));
  Writeln(Add3(1, 20, 300));
  Writeln(Utf16Len('h' + #$E9 + 'llo'));
  Writeln(CountUnit('banana', Ord('a')));
  Writeln(IsEven(10), ' ', IsEven(7));
  Writeln(Negate16(1234));
  Bump();
  Bump();
  Writeln(Counter());
end
