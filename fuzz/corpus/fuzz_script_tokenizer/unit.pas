unit MyUnit;
interface
type
  TFoo = class(TList<string>)
  private
    FValue: integer;
  public
    constructor Create;
    procedure Bar(x: integer); virtual;
    property Value: integer read FValue;
  end;
  TRec = packed record a: byte; case k: integer of 1: (b: word); end;
  TC = class of TFoo;
  TP = procedure(a: integer);
  TF = reference to function: integer;
procedure Top;
implementation
procedure TFoo . {c} Bar(x: integer);
var i: integer;
begin
  try i := x div 2 shl 1; finally end;
end;
procedure Top; begin end;
initialization
end.
