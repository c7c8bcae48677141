// THtScriptParser: the declaration level of the language (program/unit
// headers, uses, const, var, function headers and bodies), the lookups that
// every expression makes, and the registry of units and warnings.
#include "norvane/script/script_parser.h"

#include <cmath>
#include <utility>

#include "norvane/runtime/sysutils.h"
#include "norvane/runtime/variant_ops.h"
#include "norvane/script/script_expression.h"
#include "norvane/script/script_magic.h"
#include "norvane/script/script_variable.h"

namespace norvane {

NV_CLASS_IMPL(THtScriptDebugger, "script")
NV_CLASS_IMPL(THtScriptParser, "script")
NV_CLASS_IMPL(THtScriptGlobal, "script")

THtScriptDebugger* HtScriptDebuggerGlobal = nullptr;

namespace {

// Puts a value back when the scope ends, also on an exception.
template <class T>
class TRestore {
 public:
  TRestore(T& ref, T value) : ref_(ref), saved_(std::exchange(ref, std::move(value))) {}
  ~TRestore() { ref_ = std::move(saved_); }
  TRestore(const TRestore&) = delete;
  TRestore& operator=(const TRestore&) = delete;

 private:
  T& ref_;
  T saved_;
};

}  // namespace

// ---------------------------------------------------------------------------
// THtProcList

THtProcList::~THtProcList() {
  if (FOwns)
    for (auto& [name, bucket] : FItems)
      for (TScriptFunc* f : bucket) delete f;
}

void THtProcList::Add(TScriptFunc* AFunc) {
  FItems[AFunc->Name()].push_back(AFunc);
  ++FCount;
}

TScriptFunc* THtProcList::FindProc(const UnicodeString& AName, bool AllowInstance) const {
  auto it = FItems.find(LowerCase(AName));
  if (it == FItems.end()) return nullptr;
  for (TScriptFunc* f : it->second)
    if (AllowInstance || f->IsConstructor || f->ClassPtr || !f->ObjectPtr) return f;
  return nullptr;
}

TScriptFunc* THtProcList::FindProc(const UnicodeString& AName, int32_t AParamCount, bool Strict) const {
  auto it = FItems.find(LowerCase(AName));
  if (it == FItems.end()) return nullptr;
  for (TScriptFunc* f : it->second) {
    if (Strict && !(f->IsConstructor || f->ClassPtr || (!f->ClassPtr && !f->ObjectPtr))) continue;
    if (AParamCount >= f->MinParamCount && AParamCount <= f->ParamCount) return f;
  }
  return nullptr;
}

bool THtProcList::Remove(const UnicodeString& AName) {
  auto it = FItems.find(LowerCase(AName));
  if (it == FItems.end()) return false;
  FCount -= int32_t(it->second.size());
  if (FOwns)
    for (TScriptFunc* f : it->second) delete f;
  FItems.erase(it);
  return true;
}

void THtProcList::Extract(TScriptFunc* AFunc) {
  auto it = FItems.find(AFunc->Name());
  if (it == FItems.end()) return;
  auto& bucket = it->second;
  for (size_t i = 0; i < bucket.size(); ++i)
    if (bucket[i] == AFunc) {
      bucket.erase(bucket.begin() + ptrdiff_t(i));
      --FCount;
      break;
    }
  if (bucket.empty()) FItems.erase(it);
}

// ---------------------------------------------------------------------------
// Creation

THtScriptParser::THtScriptParser(const UnicodeString& AScript) { Init(AScript, true); }

THtScriptParser::THtScriptParser(const UnicodeString& AScript, NoGlobal) { Init(AScript, false); }

void THtScriptParser::Init(const UnicodeString& AScript, bool AUseGlobal) {
  if (AUseGlobal) fScriptGlobal = HtScriptGlobal();
  Vars = new TExVariables(this);
  Vars->SetEvents(&fOnGetVar, &fOnSetVar);
  Script = AScript;
  Tokenizer = new TScriptTokenizer(AScript);
  Tokenizer->FParser = this;
  Tokenizer->FOnError = [this](TScriptTokenizer* Sender, const UnicodeString& AMessage) {
    return OnError(Sender, AMessage);
  };
  MainUnit = GetOrCreateUnit(u"Program");
  MainUnit->UnitText = Script;
  Tokenizer->ScriptUnit = MainUnit;
  if (fScriptGlobal && fScriptGlobal != this) {
    TExVariables* g = fScriptGlobal->Vars;
    for (int32_t i = 0; i < g->Count(); ++i) {
      TExVariable* src = g->GetVar(i);
      TExVariable* v = Vars->AddVariable(src->Name);
      v->fDataType = src->fDataType;
      v->fDataClass = src->fDataClass;
      v->FValue = src->FValue;
    }
    SetObj(u"scripter", this);
  }
}

THtScriptParser::~THtScriptParser() {
  if (THtScriptDebugger* d = Debugger()) d->OnDestroy(this);
  // Statements and bodies first: they point at variables and functions.
  delete Tree;
  Tree = nullptr;
  FLocalProcList.clear();
  FFuncs.clear();
  MethodList.Clear();
  ScriptObjects.Clear();
  delete Vars;
  delete Tokenizer;
}

// ---------------------------------------------------------------------------
// Units and warnings

THtScriptUnit* THtScriptParser::UnitbyName(const UnicodeString& AName) const {
  auto it = FUnits.find(LowerCase(AName));
  return it == FUnits.end() ? nullptr : it->second.get();
}

THtScriptUnit* THtScriptParser::GetOrCreateUnit(const UnicodeString& AName) {
  UnicodeString key = LowerCase(AName);
  auto it = FUnits.find(key);
  if (it != FUnits.end()) return it->second.get();
  auto unit = std::make_unique<THtScriptUnit>(AName);
  THtScriptUnit* raw = unit.get();
  FUnits.emplace(key, std::move(unit));
  FUnitOrder.push_back(raw);
  return raw;
}

THtScriptUnit* THtScriptParser::GetUnit(int32_t I) const {
  return I >= 0 && I < int32_t(FUnitOrder.size()) ? FUnitOrder[size_t(I)] : nullptr;
}

THtScriptUnit* THtScriptParser::CurrentUnit() const {
  return Tokenizer && Tokenizer->ScriptUnit ? Tokenizer->ScriptUnit : MainUnit;
}

void THtScriptParser::SetCodeLine(int32_t ALine, int32_t AFlags) {
  if (THtScriptUnit* unit = CurrentUnit()) unit->SetCodeLine(ALine, uint8_t(AFlags));
}

std::vector<THtScriptWarning*> THtScriptParser::AllWarnings() const {
  std::vector<THtScriptWarning*> out;
  for (THtScriptUnit* u : FUnitOrder)
    for (int32_t i = 0; i < u->Warnings().Count(); ++i) out.push_back(u->Warnings().Items(i));
  return out;
}

bool THtScriptParser::OnError(TScriptTokenizer* Sender, const UnicodeString& AMessage) {
  if (!TolerantMode) return false;
  if (Sender->ScriptUnit)
    Sender->ScriptUnit->AddWarning(AMessage, Sender->Token.Line, Sender->Token.StartPos, Sender->Token.EndPos,
                                   swtError);
  return true;
}

// ---------------------------------------------------------------------------
// Token helpers

void THtScriptParser::Next() { Tokenizer->NextNonSpace(); }

bool THtScriptParser::Check(TScriptTokenTypes ATypes, std::u16string_view AMessage, bool ARaiseAtEnd) {
  if (!Tokenizer->NextNonSpace()) {
    if (ARaiseAtEnd) Tokenizer->Error(UnicodeString(AMessage));
    return false;
  }
  if (!ATypes.Contains(Tokenizer->Token.TokenType)) Tokenizer->ErrorFmt2(AMessage);
  return true;
}

bool THtScriptParser::CheckCurrent(TScriptTokenTypes ATypes, std::u16string_view AMessage) {
  TScriptToken& t = Tokenizer->Token;
  if ((t.TokenType == ttComment || t.TokenType == ttSpace) && !Tokenizer->NextNonSpace()) {
    Tokenizer->Error(UnicodeString(AMessage));
    return false;
  }
  if (Tokenizer->Empty) {
    Tokenizer->Error(UnicodeString(AMessage));
    return false;
  }
  if (!ATypes.Contains(Tokenizer->Token.TokenType)) Tokenizer->ErrorFmt2(AMessage);
  return true;
}

void THtScriptParser::TokenValue(const TScriptToken& AToken, Variant& AValue) {
  switch (AToken.TokenType) {
    case ttVar:
      if (SameText(AToken.Name, u"nil"))
        AValue = Variant::FromObject(nullptr);
      else if (SameText(AToken.Name, u"null"))
        AValue = Variant::Null();
      else if (!GetConst(AToken.Name, AValue))
        Tokenizer->Error(u"const name expected");
      break;
    case ttStr:
      AValue = AToken.Name;
      break;
    case ttNum: {
      long double n = AToken.AsNumber;
      long double whole = std::trunc(n);
      if (whole == n && std::fabs(n) <= 2147483647.0L)
        AValue = int32_t(n);
      else if (whole == n && std::fabs(n) <= 9223372032559808512.0L)
        AValue = int64_t(n);
      else
        AValue = double(n);
      break;
    }
    case ttInt:
      if (AToken.AsInt64 >= INT32_MIN && AToken.AsInt64 <= INT32_MAX)
        AValue = int32_t(AToken.AsInt64);
      else
        AValue = int64_t(AToken.AsInt64);
      break;
    case ttBoolValue:
      AValue = AToken.Name == u"true";
      break;
    default:
      Tokenizer->Error(u"Not a value token");
  }
}

int32_t THtScriptParser::TypeCode(const UnicodeString& ALowerName) {
  struct Row {
    std::u16string_view word;
    int32_t code;
  };
  static constexpr Row kTypes[] = {
      {u"array", 8192},     {u"ansistring", 256}, {u"rawbytestring", 256}, {u"boolean", 11},
      {u"byte", 17},        {u"cardinal", 19},    {u"char", 18},           {u"currency", 6},
      {u"double", 5},       {u"extended", 10},    {u"int64", 20},          {u"longint", 3},
      {u"pchar", 8},        {u"widestring", 8},   {u"pointer", 3},         {u"set", 3},
      {u"integer", 3},      {u"string", 258},     {u"hstring", 258},       {u"json", 258},
      {u"single", 4},       {u"smallint", 2},     {u"word", 2},            {u"tdatetime", 7},
      {u"tbytes", 8209},    {u"variant", 12},
  };
  if (ALowerName.IsEmpty()) return 13;
  for (const Row& r : kTypes)
    if (SameText(r.word, ALowerName)) return r.code;
  return 22;
}

// The type at the current token (a type word, `array of X` or a class
// name). Leaves the last word of the type current.
int32_t THtScriptParser::ReadTypeWord(int32_t& AType, TScriptClass*& AClass, std::u16string_view AMessage) {
  AClass = nullptr;
  const TScriptToken& t = Tokenizer->Token;
  if (t.TokenType != ttVar && t.TokenType != ttVarType) Tokenizer->ErrorFmt2(AMessage);
  AType = TypeCode(t.Name);
  if (AType == 8192) {
    if (!Tokenizer->NextNonSpace() || t.TokenType != ttReserved || t.ReservedType != rtOf)
      Tokenizer->Error(u"of expected");
    Next();
    int32_t element = TypeCode(t.Name);
    AType = 8192 | (element == 22 ? 12 : element);
  } else if (AType == 22) {
    AClass = GetClass(t.OriginalName);
    if (!AClass && TolerantMode && CurrentUnit())
      CurrentUnit()->AddWarning(Format(u"Class %s not found", {t.OriginalName}), t.Line, t.StartPos, t.EndPos,
                                swtWarning);
  }
  return AType;
}

// ---------------------------------------------------------------------------
// Parse

void THtScriptParser::Parse() {
  if (!fScriptGlobal && !Is<THtScriptGlobal>()) fScriptGlobal = HtScriptGlobal();
  TScriptTokenizer* tk = Tokenizer;
  const bool isMain = !tk->IsTemp;
  // A text is parsed once, even when that failed; Run may follow many times.
  if (isMain && FParsed) return;
  if (isMain) FParsed = true;
  if (!tk->NextNonSpace()) {
    if (isMain)
      if (THtScriptDebugger* d = Debugger()) d->OnCreate(this);
    return;
  }
  TScriptToken& t = tk->Token;

  if (t.TokenType == ttReserved && (t.ReservedType == rtProgram || t.ReservedType == rtUnit)) {
    const bool isProgram = t.ReservedType == rtProgram;
    Next();
    if (isMain && !tk->Empty) {
      if (isProgram) SetProgramName(t.OriginalName);
      // The main unit takes the name the text gives it.
      UnicodeString oldKey = MainUnit->UnitNameLower();
      auto node = FUnits.extract(oldKey);
      MainUnit->SetUnitName(t.OriginalName);
      if (!node.empty()) {
        node.key() = MainUnit->UnitNameLower();
        FUnits.insert(std::move(node));
      }
    }
    Next();  // the `;`
    Next();  // the token behind it
    if (!tk->Empty && t.TokenType == ttReserved && t.ReservedType == rtInterface) {
      tk->ParseBlock = tpbInterface;
      Next();
    }
    if (!tk->Empty && t.TokenType == ttReserved && t.ReservedType == rtUses) {
      while (tk->NextNonSpace() && tk->Token.TokenType != ttDelimiter)
        if (tk->Token.TokenType == ttVar) ProcessUnit(tk->Token.Name);
      Next();
    }
  }

  // Declarations.
  while (!tk->Empty && t.TokenType == ttReserved) {
    const char16_t* before = tk->SavePos();
    bool leave = false;
    switch (t.ReservedType) {
      case rtConst:
        ProcessConst();
        break;
      case rtVar:
        ProcessVars();
        break;
      case rtFunc:
      case rtProc:
        ProcessFuncDeclaration(true, false, nullptr);
        break;
      case rtImplementation:
        tk->ParseBlock = tpbImplementation;
        Next();
        break;
      case rtInitialization:
        tk->ParseBlock = tpbInitialization;
        Next();
        leave = true;
        break;
      default:
        leave = true;
    }
    if (leave) break;
    if (tk->SavePos() == before && !tk->Empty) Next();  // a tolerated error must not stall
  }
  if (tk->ParseBlock == tpbInterface) {
    if (tk->Empty)
      tk->ErrorFmt(u"Unexpected token %s", {UnicodeString()});
    else
      tk->ErrorFmt2(u"Unexpected token %s");
  }

  if (isMain) {
    auto* seq = new TScriptStatementSequence(this, nullptr);
    Tree = seq;
    try {
      if (!tk->Empty) seq->Parse();
    } catch (...) {
      delete Tree;
      Tree = nullptr;
      throw;
    }
    if (!tk->Empty && tk->NextNonSpace() && MainUnit)
      MainUnit->AddWarning(u"Text after final end - ignored", t.Line, t.StartPos, t.EndPos, swtWarning);
    if (THtScriptDebugger* d = Debugger()) d->OnCreate(this);
  }
}

void THtScriptParser::ProcessUnit(const UnicodeString& AName) {
  if (SameText(AName, MainUnit->UnitName())) return;
  THtScriptUnit* unit = UnitbyName(AName);
  if (unit && unit->Processed) return;
  UnicodeString text;
  if (unit && !unit->UnitText.IsEmpty()) {
    text = unit->UnitText;
  } else {
    bool found = fOnGetUnit && fOnGetUnit(this, AName, text);
    if (!found && fScriptGlobal && fScriptGlobal != this && fScriptGlobal->fOnGetUnit)
      found = fScriptGlobal->fOnGetUnit(this, AName, text);
    if (!found) {
      Tokenizer->ErrorFmt(u"Unit %s not found", {AName});
      return;
    }
  }
  if (!unit) unit = GetOrCreateUnit(AName);
  unit->UnitText = text;
  // Units that use each other recurse until the stack gives out; the depth
  // guard turns that into an error.
  if (++FUnitDepth > 64) {
    --FUnitDepth;
    Tokenizer->ErrorFmt(u"Unit %s not found", {AName});
    return;
  }
  auto* tk = new TScriptTokenizer(text);
  tk->IsTemp = true;
  tk->FParser = this;
  tk->FOnError = Tokenizer->FOnError;
  tk->ScriptUnit = unit;
  TScriptTokenizer* saved = Tokenizer;
  Tokenizer = tk;
  try {
    Parse();
  } catch (...) {
    Tokenizer = saved;
    --FUnitDepth;
    delete tk;
    throw;
  }
  Tokenizer = saved;
  --FUnitDepth;
  delete tk;
  unit->Processed = true;
}

void THtScriptParser::ProcessConst() {
  TScriptTokenizer* tk = Tokenizer;
  TScriptToken& t = tk->Token;
  bool first = true;
  while (tk->NextNonSpace()) {
    if (t.TokenType != ttVar) {
      if (first) tk->Error(u"const name expected");
      return;
    }
    first = false;
    UnicodeString name = t.OriginalName;
    if (!Check({ttBool, ttTypePref}, u"= or : expected")) return;
    if (t.TokenType == ttTypePref) {
      if (Vars->GetVariable(name, false)) tk->ErrorFmt(u"Variable %s already declared", {name});
      Next();
      int32_t type = 0;
      TScriptClass* cls = nullptr;
      ReadTypeWord(type, cls, u"Type name expected");
      TExVariable* v = Vars->AddVariable(name);
      v->fDataType = type;
      v->fDataClass = cls;
      if (!Check({ttBool}, u"= expected")) return;
      Next();
      Variant value;
      TokenValue(t, value);
      v->SetValue(value);
    } else {
      Next();
      Variant value;
      TokenValue(t, value);
      RegisterConst(name, value);
    }
    if (!Check({ttDelimiter}, u"; expected")) return;
  }
}

void THtScriptParser::ProcessVars() { ProcessLocals(nullptr); }

// The var section of the script (AFunc null) or of a function's locals.
void THtScriptParser::ProcessLocals(TScriptFunc* AFunc) {
  TScriptTokenizer* tk = Tokenizer;
  TScriptToken& t = tk->Token;
  TExVariables* list = AFunc ? AFunc->LocalVars : Vars;
  int32_t start = list->Count();
  while (tk->NextNonSpace()) {
    if (t.TokenType == ttParamdiv) {
      if (list->Count() == start) tk->Error(u"Variable name expected");
      continue;
    }
    if (t.TokenType == ttVar) {
      if (AFunc) {
        list->AddLocalVariable(t.OriginalName, 0);
      } else {
        if (Vars->GetVariable(t.OriginalName, false)) tk->ErrorFmt(u"Variable %s already declared", {t.OriginalName});
        Vars->AddVariable(t.OriginalName);
      }
      continue;
    }
    if (t.TokenType != ttTypePref) return;  // the section ends; the token stays current
    if (list->Count() == start) tk->Error(u"Variable name expected");
    if (!tk->NextNonSpace()) {
      tk->Error(u"Type name expected");
      return;
    }
    int32_t type = 0;
    TScriptClass* cls = nullptr;
    ReadTypeWord(type, cls, u"Type name expected");
    for (int32_t i = start; i < list->Count(); ++i) {
      TExVariable* v = list->GetVar(i);
      v->fDataType = type;
      v->fDataClass = cls;
      if (type == varString || type == varOleStr || type == varUString) v->FValue = UnicodeString();
    }
    Next();
    if (!tk->Empty && t.TokenType == ttBool && t.Name == u"=") {
      Next();
      Variant value;
      if (tk->Empty) {
        tk->Error(u"Not a value token");
      } else {
        TokenValue(t, value);
        Next();
      }
      if (!AFunc) {
        // Globals may add strings and numbers: 'a' + 'b' + #13.
        while (!tk->Empty && t.TokenType != ttDelimiter) {
          if (t.TokenType == ttOperation) {
            if (t.Name != u"+") tk->Error(u"Only + is allowed in var declaration");
          } else if (t.TokenType == ttStr || t.TokenType == ttNum || t.TokenType == ttInt) {
            Variant more;
            TokenValue(t, more);
            value = VarBinaryOp(value, more, opAdd);
          } else {
            throw EHtScriptException(Format(u"%s is not allowed in var declaration", {t.OriginalName}), this,
                                     t.StartPos, t.Line, CurrentUnit()->UnitName(),
                                     CurrentUnit()->GetLine(t.Line));
          }
          Next();
        }
      }
      for (int32_t i = start; i < list->Count(); ++i) {
        if (AFunc) {
          if (AFunc->LocalVarsValues.size() <= size_t(i)) AFunc->LocalVarsValues.resize(size_t(i) + 1);
          AFunc->LocalVarsValues[size_t(i)] = value;
        } else {
          list->GetVar(i)->SetValue(value);
        }
      }
    }
    start = list->Count();
    if (tk->Empty || t.TokenType != ttDelimiter) tk->Error(AFunc ? u": expected" : u"; expected");
    if (tk->Empty) return;
  }
}

TScriptFunc* THtScriptParser::ProcessFuncDeclaration(bool AddToList, bool IsAnonymous, TScriptFunc* Existing) {
  TScriptTokenizer* tk = Tokenizer;
  TScriptToken& t = tk->Token;
  const int32_t startPos = t.StartPos;
  const THtTokenizerParseBlock block = tk->ParseBlock;
  const UnicodeString headerText = tk->SP->Text();
  UnicodeString comment;
  if (!IsAnonymous && tk->LastToken.TokenType == ttComment) comment = tk->LastToken.Name;

  UnicodeString name;
  if (!IsAnonymous) {
    if (!Check({ttReserved, ttVar, ttFunc, ttVarType}, u"Function name expected")) return nullptr;
    name = t.OriginalName;
  }

  if (!IsAnonymous && AddToList && block != tpbImplementation) {
    TScriptFunc* found = ProcList.FindProc(name);
    if (!found && fScriptGlobal && fScriptGlobal != this) found = fScriptGlobal->ProcList.FindProc(name);
    if (found && found != Existing) tk->ErrorFmt(u"Duplicate function declaration: %s ", {name});
  }

  TScriptFunc* f = nullptr;
  bool declared = false;
  if (block == tpbImplementation && !IsAnonymous) {
    f = ProcList.FindProc(name);
    declared = f != nullptr && !f->IsScript();
    if (f && !declared) f = nullptr;  // a second body: a new function that the duplicate test let by
  }
  if (!f) {
    FFuncs.push_back(std::make_unique<TScriptFunc>(true));
    f = FFuncs.back().get();
    f->SetName(IsAnonymous ? UnicodeString(u"anonymous") : name);
    f->Owner = this;
    f->ScriptUnit = CurrentUnit();
    f->DeclarationLine = t.Line;
    if (AddToList && !IsAnonymous) ProcList.Add(f);
  }
  f->ImplementationLine = t.Line;
  if (block == tpbInterface) f->IsPublic = true;

  if (!IsAnonymous) Next();
  else Next();
  if (tk->Empty) {
    tk->Error(u"begin or external expected");
    return f;
  }
  if (t.TokenType != ttDelimiter && t.TokenType != ttBracket && t.TokenType != ttTypePref)
    tk->ErrorFmt(u"; expected but %s found", {t.OriginalName});

  // Parameters.
  if (t.TokenType == ttBracket) {
    Check({ttReserved, ttVar, ttCloseBr}, u") expected");
    if (declared && f->ParamCount > 0) {
      // The implementation may repeat the list; it isn't read.
      while (!tk->Empty && t.TokenType != ttCloseBr) Next();
    } else {
      while (!tk->Empty && t.TokenType != ttCloseBr) {
        const char16_t* before = tk->SavePos();
        const int32_t groupStart = f->ParamCount;
        bool varFlag = false;
        bool hasDefault = false;
        // Names of one group, up to `:`, `;` or `)`.
        for (;;) {
          CheckCurrent({ttReserved, ttVar}, u"Parameter name expected");
          if (t.TokenType == ttReserved) {
            if (t.ReservedType == rtVar) varFlag = true;
            if (!Check({ttVar}, u"Parameter name expected")) break;
          }
          if (f->ParamCount >= TScriptFunc::MaxParams) {
            tk->Error(u"Too many parameters");
          } else {
            TFuncParam& p = f->Params[f->ParamCount++];
            p.Name = t.OriginalName;
            p.VarFlag = varFlag;
          }
          if (!Check({ttDelimiter, ttParamdiv, ttCloseBr, ttTypePref}, u"',' expected")) break;
          if (t.TokenType != ttParamdiv) break;
          Next();
          if (tk->Empty) break;
        }
        if (!tk->Empty && t.TokenType == ttTypePref) {
          Next();
          int32_t type = 0;
          TScriptClass* cls = nullptr;
          ReadTypeWord(type, cls, u"Type name expected");
          for (int32_t i = f->ParamCount - 1; i >= groupStart && f->Params[i].ParamType == 0; --i) {
            f->Params[i].ParamType = type;
            f->Params[i].ParamClass = cls;
          }
          if (Check({ttDelimiter, ttBool, ttCloseBr}, u") expected") && t.TokenType == ttBool) {
            if (Check({ttVar, ttStr, ttNum, ttInt, ttBoolValue}, u"Default value expected") &&
                f->ParamCount > 0) {
              TokenValue(t, f->Params[f->ParamCount - 1].DefaultValue);
              hasDefault = true;
            }
            Check({ttDelimiter, ttCloseBr}, u"; or ) expected");
          }
        }
        if (!hasDefault) f->MinParamCount = f->ParamCount;
        if (tk->Empty || t.TokenType == ttCloseBr) break;
        if (t.TokenType == ttDelimiter) Next();
        if (tk->SavePos() == before) Next();  // a tolerated error must not stall
      }
    }
    if (tk->Empty) {
      tk->Error(u") expected");
      return f;
    }
    if (IsAnonymous)
      Next();
    else
      Check({ttDelimiter, ttTypePref}, u"; or : expected");
  }

  // Result type.
  if (!tk->Empty && t.TokenType == ttTypePref) {
    if (Check({ttVar, ttVarType}, u"Function result type expected")) {
      f->DeclaredResultType = t.OriginalName;
      int32_t type = 0;
      TScriptClass* cls = nullptr;
      ReadTypeWord(type, cls, u"Function result type expected");
      f->ResultType = uint16_t(type);
      f->ResultClass = cls;
      Next();
      if (!IsAnonymous && (tk->Empty || t.TokenType != ttDelimiter))
        tk->ErrorFmt(u"; expected but %s found", {tk->Empty ? UnicodeString() : t.OriginalName});
    }
  }
  if (!tk->Empty && t.TokenType == ttDelimiter) Next();
  if (f->Description.IsEmpty()) f->Description = comment;

  if (block == tpbInterface && (tk->Empty || t.ReservedType != rtExternal)) return f;
  if (tk->Empty) {
    tk->Error(u"begin or external expected");
    return f;
  }
  CheckCurrent({ttReserved}, u"begin or external expected");

  if (t.TokenType == ttReserved && t.ReservedType == rtExternal) {
    f->IsExternal = true;
    f->FunName = f->OriginalName();
    if (Check({ttStr}, u"DLL name expected")) f->DllName = t.Name;
    if (Check({ttDelimiter, ttVar}, u"; expected") && t.TokenType == ttVar) {
      if (t.Name != u"name") tk->Error(u"'name' expected");
      if (Check({ttStr}, u"DLL function name expected")) f->FunName = t.Name;
      Check({ttDelimiter}, u"; expected");
    }
    Next();
    return f;
  }

  // The header as written, for messages and completion.
  if (startPos > 0 && t.StartPos > startPos && t.StartPos - 1 <= headerText.Length())
    f->Declaration += Trim(Copy(headerText, startPos, t.StartPos - startPos));

  delete f->LocalVars;
  f->LocalVars = new TExVariables(this);
  f->LocalVarsValues.clear();
  for (int32_t i = 0; i < f->ParamCount; ++i) {
    TExVariable* v = f->LocalVars->AddLocalVariable(f->Params[i].Name, f->Params[i].ParamType);
    v->fDataClass = f->Params[i].ParamClass;
    f->Params[i].Value = v;
  }
  if (f->ResultType != 0) {
    TExVariable* v = f->LocalVars->AddLocalVariable(u"result", f->ResultType);
    v->fDataClass = f->ResultClass;
  }
  if (t.TokenType == ttReserved && t.ReservedType == rtVar) {
    ProcessLocals(f);
    if (tk->Empty) {
      tk->Error(u"begin or external expected");
      return f;
    }
  }
  Next();  // the `begin`

  delete f->fBody;
  auto* body = new TScriptStatementSequence(this, nullptr);
  f->fBody = body;
  f->fSeqOf = nullptr;  // the old body's address may come back
  {
    TRestore<TScriptFunc*> keep(LocalFunc, f);
    if (!tk->Empty) body->Parse();
  }
  if (tk->Empty || t.TokenType != ttReserved || t.ReservedType != rtEnd)
    tk->ErrorFmt(u"end expected but '%s' found", {tk->Empty ? UnicodeString() : t.OriginalName});
  else if (!IsAnonymous) {
    Check({ttDelimiter}, u"; expected", false);
    Next();
  }
  FLocalProcList.push_back(f);
  return f;
}

// ---------------------------------------------------------------------------
// Statements and expressions

// Statements nest through recursive calls: the bound keeps a hostile text
// from exhausting the machine stack while parsing, and running and freeing
// such a tree later.
void THtScriptParser::EnterNesting() {
  if (++FNesting > kMaxNesting) {
    --FNesting;
    throw EHtScriptException(Format(u"Statements nested too deeply at line %d", {Tokenizer->Line + 1}), this,
                             Tokenizer->Token.StartPos, Tokenizer->Line, CurrentUnit()->UnitName(),
                             CurrentUnit()->GetLine(Tokenizer->Line));
  }
}

TScriptExpression* THtScriptParser::GetExpression(TReservedType AStopWord) {
  (void)AStopWord;
  // The expression bounds its own nesting (conditional and case
  // expressions parse through here again).
  auto ex = std::make_unique<TScriptExpression>();
  ex->Parse(this);
  return ex.release();
}

namespace {
template <class T>
TScriptStatement* ParseStatement(THtScriptParser* parser, TScriptStatement* parent) {
  auto st = std::make_unique<T>(parser, parent);
  st->Parse();
  return st.release();
}
}  // namespace

TScriptStatement* THtScriptParser::GetStatement(TScriptStatement* AParent) {
  TScriptTokenizer* tk = Tokenizer;
  TScriptToken& t = tk->Token;
  if (tk->Empty) return nullptr;
  EnterNesting();
  struct Leave {
    int32_t& n;
    ~Leave() { --n; }
  } leave{FNesting};
  switch (t.TokenType) {
    case ttReserved:
      switch (t.ReservedType) {
        case rtBegin: {
          Next();
          auto seq = std::make_unique<TScriptStatementSequence>(this, AParent);
          seq->Parse();
          if (tk->Empty || t.TokenType != ttReserved || t.ReservedType != rtEnd)
            tk->ErrorFmt(u"end expected but '%s' found", {tk->Empty ? UnicodeString() : t.OriginalName});
          else
            Next();
          return seq.release();
        }
        case rtBreak:
        case rtContinue:
        case rtExit:
          return ParseStatement<TFlowControlStatement>(this, AParent);
        case rtCase:
          return ParseStatement<TCaseStatement>(this, AParent);
        case rtConst:
          ProcessConst();
          return nullptr;
        case rtEnd:
          return nullptr;
        case rtFor:
        case rtParallel:
          return ParseStatement<TForStatement>(this, AParent);
        case rtFunc:
        case rtProc:
          return ParseStatement<TAssignStatement>(this, AParent);
        case rtIf:
          return ParseStatement<TIfStatement>(this, AParent);
        case rtTry:
          return ParseStatement<TTryExceptStatement>(this, AParent);
        case rtRaise:
          return ParseStatement<TRaiseStatement>(this, AParent);
        case rtWhile:
          return ParseStatement<TWhileStatement>(this, AParent);
        case rtRepeat:
          return ParseStatement<TRepeatStatement>(this, AParent);
        default:
          break;
      }
      break;
    case ttDelimiter:
      return nullptr;
    case ttVar:
    case ttFunc:
      return ParseStatement<TAssignStatement>(this, AParent);
    default:
      break;
  }
  tk->ErrorFmt2(u"Unexpected token %s");
  Next();
  return nullptr;
}

void THtScriptParser::Compile() {
  // Functions parsed while compiling (none today) would extend the list.
  for (size_t i = 0; i < FLocalProcList.size(); ++i) FLocalProcList[i]->Compile();
  if (Tree) Tree->Compile();
  FCompiled = true;
}

// ---------------------------------------------------------------------------
// Lookup

TExVariable* THtScriptParser::GetVariable(const UnicodeString& AName, bool ACreate, bool AForceCreate) {
  TExVariable* v = nullptr;
  if (MainLocalFunc && MainLocalFunc->LocalVars) v = MainLocalFunc->LocalVars->GetVariable(AName, false);
  if (!v && LocalFunc && LocalFunc != MainLocalFunc && LocalFunc->LocalVars)
    v = LocalFunc->LocalVars->GetVariable(AName, false);
  if (!v) v = Vars->GetVariable(AName, false);
  if (!v && ACreate) {
    if (!AForceCreate && fOptions.Contains(soRequireVarDeclaration))
      Tokenizer->ErrorFmt(u"Variable '%s' not declared", {AName});
    v = Vars->GetVariable(AName, true);
  }
  return v;
}

TScriptFunc* THtScriptParser::GetFunction(const UnicodeString& AName) {
  if (TScriptFunc* f = ProcList.FindProc(AName)) return f;
  if (fScriptGlobal && fScriptGlobal != this) return fScriptGlobal->ProcList.FindProc(AName);
  return nullptr;
}

TScriptClass* THtScriptParser::GetClass(const UnicodeString& AName) {
  if (TScriptClass* c = FClassList.Find(AName)) return c;
  if (fScriptGlobal && fScriptGlobal != this) return fScriptGlobal->FClassList.Find(AName);
  return nullptr;
}

bool THtScriptParser::GetConst(const UnicodeString& AName, Variant& AValue) {
  if (fConstList.Find(AName, AValue)) return true;
  return fScriptGlobal && fScriptGlobal != this && fScriptGlobal->fConstList.Find(AName, AValue);
}

// ---------------------------------------------------------------------------
// Registration

TScriptFunc* THtScriptParser::DoRegisterFunc(const UnicodeString& ADeclaration, bool ATolerant) {
  UnicodeString lower = LowerCase(TrimLeft(ADeclaration));
  UnicodeString text = ADeclaration;
  if (!(lower.view().starts_with(u"function") || lower.view().starts_with(u"procedure")))
    text = u"function " + text;
  if (!TrimRight(text).view().ends_with(u";")) text += std::u16string_view(u";");
  auto tk = std::make_unique<TScriptTokenizer>(text);
  tk->FParser = this;
  tk->IsTemp = true;
  tk->ParseBlock = tpbInterface;  // a header without a body
  if (ATolerant) tk->FOnError = [](TScriptTokenizer*, const UnicodeString&) { return true; };
  TRestore<TScriptTokenizer*> keep(Tokenizer, tk.get());
  TRestore<TScriptFunc*> keepLocal(LocalFunc, nullptr);
  if (!Tokenizer->NextNonSpace()) return nullptr;
  TScriptFunc* f = ProcessFuncDeclaration(false, false, nullptr);
  if (f) f->Declaration = Trim(ADeclaration);
  return f;
}

TScriptFunc* THtScriptParser::RegisterFunc(const UnicodeString& ADeclaration, void* APointer, TObject* AObject,
                                           TClass AClass, bool IsMethod, bool AutoFreeResult, bool AddToList) {
  TScriptFunc* f = nullptr;
  try {
    f = DoRegisterFunc(ADeclaration, false);
  } catch (const Exception& e) {
    throw EHtScriptException(Format(u"Error registering function %s: %s", {ADeclaration, e.Message()}));
  }
  if (!f) throw EHtScriptException(Format(u"Error registering function %s: %s", {ADeclaration, u"empty"}));
  f->FuncPtr = APointer;
  f->ObjectPtr = AObject;
  f->ClassPtr = AClass;
  f->IsMethod = IsMethod;
  f->AutoFreeResult = AutoFreeResult;
  f->Prepare();
  if (AddToList) ProcList.Add(f);
  return f;
}

TScriptFunc* THtScriptParser::RegisterMagicFunc(const UnicodeString& ADeclaration, TMagicFunc AFunc) {
  TScriptFunc* f = DoRegisterFunc(ADeclaration, true);
  if (!f) throw EHtScriptException(Format(u"Error registering function %s: %s", {ADeclaration, u"empty"}));
  f->MagicFunc = AFunc;
  ProcList.Add(f);
  return f;
}

bool THtScriptParser::UnregisterFunc(const UnicodeString& AName) { return ProcList.Remove(AName); }

void THtScriptParser::RegisterConst(const UnicodeString& AName, const Variant& AValue) {
  if (const Variant* old = fConstList.Get(AName)) {
    if (old->VarType() == AValue.VarType() && VarSameValue(*old, AValue)) return;
    Tokenizer->ErrorFmt(u"Constant %s already registered", {AName});
  }
  fConstList.Put(AName, AValue);
}

TScriptClass* THtScriptParser::RegisterClass(const UnicodeString& AName, CHtScriptEnumerator AEnumerator,
                                             TClass AClass) {
  if (TScriptClass* c = FClassList.Find(AName); c && c->ClassPtr == AClass) return c;
  if (AClass)
    if (TScriptClass* c = FClassList.FindByHostClass(AClass)) return c;
  TScriptClass* parent = nullptr;
  if (AClass && AClass->Parent && AClass->Parent != TObject::StaticClass()) {
    parent = FClassList.FindByHostClass(AClass->Parent);
    if (!parent) parent = RegisterClass(AClass->Parent->ClassName(), nullptr, AClass->Parent);
  }
  auto* c = new TScriptClass();
  c->Name = AName;
  c->Declaration = AName;
  c->ClassPtr = AClass;
  c->FParser = this;
  c->EnumeratorClass = AEnumerator;
  c->Parent = parent;
  FClassList.Add(c);
  return c;
}

TExVariable* THtScriptParser::RegisterObject(const UnicodeString& AName, TObject* AObject, TClass AClass) {
  TExVariable* v = Vars->GetVariable(AName, true);
  TClass cls = AClass ? AClass : (AObject ? AObject->ClassType() : nullptr);
  if (cls) {
    TScriptClass* sc = FClassList.FindByHostClass(cls);
    if (!sc && fScriptGlobal && fScriptGlobal != this) sc = fScriptGlobal->FClassList.FindByHostClass(cls);
    if (!sc) sc = RegisterClass(cls->ClassName(), nullptr, cls);
    v->fDataClass = sc;
  }
  v->SetObject(AObject);
  return v;
}

// ---------------------------------------------------------------------------
// Running

void THtScriptParser::Run() {
  if (!FParsed) Parse();
  if (!FCompiled) Compile();
  FDebugLastExecutedLine = -1;
  fDebugLastExecutedPos = -1;
  ExceptionStack.Clear();
  ExceptionLineText.Clear();
  ExceptionLine = 0;
  FHalt = false;
  if (THtScriptDebugger* d = Debugger()) d->OnRun(this);
  if (Tree) {
    try {
      Tree->Run();
    } catch (Exception& e) {
      if (ExceptionLine == 0) ExceptionLine = CurrentLine() + 1;
      SaveExceptionStack();
      if (THtScriptDebugger* d = Debugger()) d->OnException(this, e);
      throw;
    }
  }
  CurrentExpression = nullptr;
  if (THtScriptDebugger* d = Debugger()) d->OnStop(this);
}

void THtScriptParser::RunFunction(const UnicodeString& AName, std::initializer_list<Variant> Args,
                                  Variant& Result) {
  TScriptFunc* f = GetFunction(AName);
  if (!f) throw EHtScriptException(Format(u"Function %s not found", {AName}), this, -1, 0, UnicodeString(),
                                   UnicodeString());
  RunFunction(f, Args.begin(), int32_t(Args.size()), Result);
}

void THtScriptParser::RunFunction(TScriptFunc* AFunc, const Variant* Args, int32_t ArgCount, Variant& Result) {
  std::vector<Variant> args(Args, Args + ArgCount);
  RunVarFunction(AFunc, args, Result);
}

bool THtScriptParser::RunFunctionIfExists(const UnicodeString& AName, std::initializer_list<Variant> Args) {
  TScriptFunc* f = GetFunction(AName);
  if (!f) return false;
  Variant result;
  RunFunction(f, Args.begin(), int32_t(Args.size()), result);
  return true;
}

void THtScriptParser::RunVarFunction(TScriptFunc* AFunc, std::vector<Variant>& Args, Variant& Result) {
  if (!FParsed && Tree == nullptr && !Is<THtScriptGlobal>()) Parse();
  if (!FCompiled) Compile();
  if (THtScriptDebugger* d = Debugger())
    d->OnRunFunction(this, AFunc, Args.data(), int32_t(Args.size()));
  std::vector<std::unique_ptr<TExVariable>> vars;
  std::vector<TExVariable*> stack;
  vars.reserve(Args.size());
  for (const Variant& a : Args) {
    vars.push_back(std::make_unique<TExVariable>());
    vars.back()->fIsTemp = true;
    vars.back()->FValue = a;
    stack.push_back(vars.back().get());
  }
  const int32_t n = int32_t(stack.size());
  {
    // The function's expressions must not stay current: the host may free
    // the function (an anonymous one) before the next run.
    TRestore<TScriptExpression*> keep(CurrentExpression, CurrentExpression);
    AFunc->Run(this, nullptr, stack.data(), n - 1, n, Result);
  }
  for (int32_t i = 0; i < n && i < AFunc->ParamCount; ++i)
    if (AFunc->Params[i].VarFlag) Args[size_t(i)] = stack[size_t(i)]->FValue;
}

void THtScriptParser::Evaluate(const UnicodeString& AText, Variant& Result) {
  if (TExVariable* v = Vars->GetVariable(Trim(AText), false)) {
    v->GetValue(Result);
    return;
  }
  TRestore<THtScriptDebuggerMode> keepMode(FDebuggerMode, sdmDisabled);
  TRestore<TScriptExpression*> keepExpr(CurrentExpression, CurrentExpression);
  TRestore<TScriptFunc*> keepMain(MainLocalFunc, LocalFunc);
  std::unique_ptr<TScriptFunc> f(CreateAnonymousFunction(u"result := " + AText, false, u"variant"));
  if (!f) return;
  std::vector<Variant> none;
  RunVarFunction(f.get(), none, Result);
}

TScriptFunc* THtScriptParser::CreateAnonymousFunction(const UnicodeString& AText, bool AAutoFree,
                                                      const UnicodeString& AResultType) {
  UnicodeString head = LowerCase(Trim(AText));
  UnicodeString text;
  if (head.view().starts_with(u"function") || head.view().starts_with(u"procedure"))
    text = AText;
  else if (!AResultType.IsEmpty())
    text = u"function(): " + AResultType + u";begin " + AText + u" end;";
  else
    text = u"function();begin " + AText + u" end;";
  auto tk = std::make_unique<TScriptTokenizer>(text);
  tk->FParser = this;
  tk->IsTemp = true;
  tk->FOnError = Tokenizer->FOnError;
  tk->ScriptUnit = MainUnit;
  TScriptFunc* f = nullptr;
  {
    TRestore<TScriptTokenizer*> keep(Tokenizer, tk.get());
    if (!Tokenizer->NextNonSpace()) return nullptr;
    f = ProcessFuncDeclaration(false, true, nullptr);
  }
  if (!f) return nullptr;
  f->Compile();
  if (!AAutoFree) {
    for (size_t i = 0; i < FFuncs.size(); ++i)
      if (FFuncs[i].get() == f) {
        FFuncs[i].release();
        FFuncs.erase(FFuncs.begin() + ptrdiff_t(i));
        break;
      }
    for (size_t i = 0; i < FLocalProcList.size(); ++i)
      if (FLocalProcList[i] == f) {
        FLocalProcList.erase(FLocalProcList.begin() + ptrdiff_t(i));
        break;
      }
  }
  return f;
}

void THtScriptParser::CreateObject(TObject* AObject) {
  if (AObject && ScriptObjects.IndexOf(AObject) < 0) ScriptObjects.Add(AObject);
}

TScriptFunc* THtScriptParser::CreateMethod() {
  auto* f = new TScriptFunc(true);
  f->Owner = this;
  MethodList.Add(f);
  return f;
}

Variant THtScriptParser::GetVar(const UnicodeString& AName) {
  Variant v;
  if (TExVariable* var = Vars->GetVariable(AName, false)) var->GetValue(v);
  return v;
}

void THtScriptParser::SetVar(const UnicodeString& AName, const Variant& AValue) {
  Vars->GetVariable(AName, true)->SetValue(AValue);
}

TObject* THtScriptParser::GetObj(const UnicodeString& AName) {
  TExVariable* var = Vars->GetVariable(AName, false);
  return var ? Variant2ObjectSafe(var->FValue) : nullptr;
}

void THtScriptParser::SetObj(const UnicodeString& AName, TObject* AObject) {
  Vars->GetVariable(AName, true)->SetObject(AObject);
}

// ---------------------------------------------------------------------------
// Errors

int32_t THtScriptParser::CurrentLine() const { return CurrentExpression ? CurrentExpression->Line : 0; }

int32_t THtScriptParser::CurrentPos() const {
  if (fDebugLastExecutedPos > 0) return fDebugLastExecutedPos;
  return CurrentExpression ? CurrentExpression->ScriptPos : -1;
}

void THtScriptParser::SaveExceptionStack() {
  if (ExceptionLine == 0) {
    ExceptionLine = CurrentLine() + 1;
    THtScriptUnit* unit = CurrentExpression && CurrentExpression->ScriptUnit ? CurrentExpression->ScriptUnit
                                                                             : MainUnit;
    ExceptionLineText = unit->GetLine(CurrentLine());
  }
  if (!ExceptionStack.IsEmpty()) return;
  UnicodeString text;
  // Runaway recursion would make thousands of equal lines: the outermost
  // and innermost frames tell the story.
  constexpr size_t kEnds = 16;
  const size_t count = DebugStack.size();
  for (size_t i = 0; i < count; ++i) {
    if (count > 2 * kEnds && i == kEnds) {
      text += Format(u"\r\n... %d more ...", {int32_t(count - 2 * kEnds)});
      i = count - kEnds - 1;
      continue;
    }
    TScriptFunc* f = DebugStack[i];
    if (!text.IsEmpty()) text += std::u16string_view(u"\r\n");
    UnicodeString unitName = f->ScriptUnit ? f->ScriptUnit->UnitName() : UnicodeString(u"Program");
    int32_t line = i < DebugLineStack.size() ? DebugLineStack[i] : 0;
    text += unitName + u"." + f->OriginalName() + u" [" + IntToStr(line + 1) + u"]";
  }
  ExceptionStack = text;
}

void THtScriptParser::RunError(const UnicodeString& AMessage) {
  SaveExceptionStack();
  const int32_t line = CurrentLine();
  THtScriptUnit* unit = CurrentExpression && CurrentExpression->ScriptUnit ? CurrentExpression->ScriptUnit
                                                                           : MainUnit;
  UnicodeString tail = ExceptionStack.IsEmpty() ? UnicodeString() : u"\r\n" + ExceptionStack;
  try {
    throw EHtScriptException(AMessage + Format(u" at line %d %s", {line + 1, tail}), this, CurrentPos(), line,
                             unit->UnitName(), unit->GetLine(line));
  } catch (EHtScriptException& e) {
    e.ExceptionStack = ExceptionStack;
    throw;
  }
}

void THtScriptParser::RunErrorFmt(std::u16string_view AMessage, FormatArgs Args) {
  RunError(Format(AMessage, Args));
}

void THtScriptParser::CheckPause() {
  if (FDebuggerMode == sdmNone || FDebuggerMode == sdmDisabled) return;
  if (FDebuggerMode == sdmGotoFirstLine) FDebuggerMode = sdmPaused;
  THtScriptDebugger* d = Debugger();
  if (FDebuggerMode == sdmPaused && d) d->OnPause(this);
  // Without a debugger nobody could resume: a pause would hang the script.
  while (FDebuggerMode == sdmPaused && d) d->ProcessMessages(this, true);
}

// ---------------------------------------------------------------------------
// The global context

THtScriptGlobal::THtScriptGlobal() : THtScriptParser(UnicodeString(), NoGlobal{}) {}

void THtScriptGlobal::RegisterInternals() {}

void THtScriptGlobal::RegisterMagicFunctions() { RegisterScriptMagicFunctions(this); }

void THtScriptGlobal::RegisterAll() {
  fScriptGlobal = nullptr;
  RegisterInternals();
  RegisterMagicFunctions();
  RegisterSystemFunctions();
  RegisterSysUtilsFunctions();
  RegisterMathFunctions();
}

THtScriptGlobal* HtScriptGlobal() {
  static THtScriptGlobal* global = [] {
    auto* g = new THtScriptGlobal();
    g->RegisterAll();
    return g;
  }();
  return global;
}

}  // namespace norvane
