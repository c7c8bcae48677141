// Exceptions raised in functions and caught by callers, finally blocks,
// re-raise, and exit inside try.
procedure Fail(msg: string);
begin
  raise 'failed: ' + msg;
end;

function Safe(x: integer): integer;
begin
  result := -1;
  try
    if x < 0 then Fail('negative');
    result := x * 2;
  except
    Writeln('caught ', ExceptionMessage());
  end;
end;

function Nested(): string;
begin
  result := 'start';
  try
    try
      Fail('inner');
    finally
      Writeln('finally runs');
    end;
  except
    on E: Exception do
      result := 'outer caught';
  end;
end;

function EarlyExit(): integer;
begin
  result := 1;
  try
    exit(5);
  finally
    Writeln('cleanup');
  end;
  result := 99;
end;

var log: string;
begin
  Writeln(Safe(21));
  Writeln(Safe(-1));
  Writeln(Nested());
  Writeln(EarlyExit());
  try
    try
      Fail('again');
    except
      log := 'first';
      raise;
    end;
  except
    Writeln(log, ' then ', ExceptionMessage());
  end;
  Writeln(StrToIntDef('x', 7));
  try
    StrToInt('zz');
  except
    Writeln('host error caught');
  end;
end
