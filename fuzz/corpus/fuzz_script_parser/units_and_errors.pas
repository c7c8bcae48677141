unit U; interface uses A, B.C; function f(a: integer = 1; var b: string): integer; implementation
function f(x); begin case a of 1, 2: b := if a then 'x' else 'y'; else raise end end;
const k = 'a'; var s: string = 'a' + #13 + 'b'; t: array of integer;
begin for var i in [1..3] index j do begin try x := case i of 1: 2 else 3 end; except on E: Exception do raise; end; end; repeat break until true; end.
