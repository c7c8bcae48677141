// css-prop: a property's record from the CSS property table.
#include <string>

#include "cli_common.h"
#include "norvane/css/css_properties.h"
#include "norvane/foundation/fast_string.h"
#include "norvane/runtime/sysutils.h"

namespace norvane::cli {
namespace {

int RunCssProp(const Args& args);

constexpr Command kCommands[] = {
    {"css-prop", "NAME | --list", "show a CSS property's record from the property table",
     "Prints the record of NAME (case is folded, as the parser folds it), one field\n"
     "a line as FIELD<TAB>VALUE: name, id, type, parent (what a percentage refers\n"
     "to), inherited, default, layout (whether a change needs a new layout),\n"
     "sub-properties (the longhands of a shorthand, in assignment order) and, for a\n"
     "keyword property, its enumeration and prefix followed by one line per value:\n"
     "value<TAB>ORDINAL<TAB>KEYWORD<TAB>NAME. Ordinal 0 is what a style answers when\n"
     "no rule sets the property. A name that isn't in the table exits 1.\n"
     "--list prints every property as NAME<TAB>TYPE, in identifier order.\n"
     "  norvane css-prop margin\n"
     "  norvane css-prop display\n",
     RunCssProp, "--list"},
};

void Line(TFastString& out, const char16_t* field, const UnicodeString& value) {
  out.Add(field);
  out.AddChar(u'\t');
  out.Add(value);
  out.AddChar(u'\n');
}

UnicodeString Bool(bool b) { return b ? u"true" : u"false"; }

int ListAll() {
  TFastString out(8192);
  const TEnumInfo& ids = EnumInfo(TCSSProperty{});
  for (int32_t i = 0; i < ids.Count(); ++i)
    if (const TCSSPropRec* r = CSSPropRecById(TCSSProperty(i))) {
      out.Add(r->Name);
      out.AddChar(u'\t');
      out.Add(CSSPropertyTypeName(r->PropType));
      out.AddChar(u'\n');
    }
  WriteOut(out.GetAsString().view());
  return kExitOk;
}

int RunCssProp(const Args& args) {
  Args rest = args;
  if (TakeFlag(rest, "--list")) {
    ExpectArgs(kCommands[0], rest, 0, 0);
    return ListAll();
  }
  ExpectArgs(kCommands[0], rest, 1, 1);
  const UnicodeString name = LowerCase(ArgText(rest[0]));
  const TCSSPropRec* r = FindCSSPropRec(name);
  if (!r) InputError("css-prop: '" + rest[0] + "' is not a property of the table");

  TFastString out(2048);
  Line(out, u"name", r->Name);
  Line(out, u"id", EnumInfo(TCSSProperty{}).Name(r->ID));
  Line(out, u"type", CSSPropertyTypeName(r->PropType));
  Line(out, u"parent", CSSParentTypeName(r->ParentType));
  Line(out, u"inherited", Bool(r->Inherited));
  Line(out, u"default", FloatToStr(r->DefaultValue));
  Line(out, u"layout", Bool(r->Layout));
  UnicodeString subs;
  for (const TCSSPropRec* sub : r->SubProps) subs = subs.IsEmpty() ? sub->Name : subs + u" " + sub->Name;
  Line(out, u"sub-properties", subs);
  if (r->EnumType) {
    Line(out, u"enumeration", UnicodeString::FromLatin1(r->EnumType->TypeName()));
    Line(out, u"prefix", r->EnumPrefix);
    for (int32_t i = 0; i < r->EnumType->Count(); ++i) {
      out.Add(u"value\t");
      out.Add(IntToStr(i));
      out.AddChar(u'\t');
      out.Add(r->EnumKeyword(i));
      out.AddChar(u'\t');
      out.Add(r->EnumType->Name(i));
      out.AddChar(u'\n');
    }
  }
  WriteOut(out.GetAsString().view());
  return kExitOk;
}

}  // namespace

std::span<const Command> CssPropCommands() { return kCommands; }

}  // namespace norvane::cli
