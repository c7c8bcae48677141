#include "norvane/css/css_parser.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "norvane/foundation/text_utils.h"
#include "norvane/runtime/sysutils.h"

namespace norvane {

NV_CLASS_IMPL(ECSSParserError, "htmlcss")
NV_CLASS_IMPL(TCSSParser, "htmlcss")

TCSSParser::TCSSParser(const UnicodeString& text, bool parseNumbers) : FTokenizer(text, parseNumbers) {
  FMediaTexts.push_back(UnicodeString(u"default"));
  FValues.reserve(64);
  FValueScratch.reserve(64);
  FScratch.reserve(64);
}

TCSSParser::~TCSSParser() { delete FSection; }

TCSSSection* TCSSParser::TakeSection() noexcept {
  TCSSSection* s = FSection;
  FSection = nullptr;
  return s;
}

bool TCSSParser::Read() {
  FTokenizer.NextToken();
  return !FTokenizer.Eof;
}

void TCSSParser::SkipBlanks() {
  while (!Eof() && (Tok().CType == ctSpace || Tok().CType == ctComment)) Read();
}

void TCSSParser::ParseValue(TCSSTokens& tokens) {
  while (Read()) tokens.Add(Tok());
}

TCSSSection* TCSSParser::ReadValues() {
  delete FSection;
  FSection = new TCSSSection(true);
  ReadSectionValues();
  FSection->BlockEndPos = Tok().EndPos;
  FSection->MediaSet = DefaultCSSMediaSet();
  FSection->Compile();
  return TakeSection();
}

bool TCSSParser::NextSection() {
  if (!Read()) return false;
  FScratch.clear();
  delete FSection;
  FSection = new TCSSSection(true);
  FSection->BlockStartPos = Tok().StartPos;
  FSection->Selectors->StartPos = Tok().StartPos;
  while (!Eof()) {
    const TCSSToken& t = Tok();
    bool blockStart = false;
    switch (t.CType) {
      case ctIdent: case ctHash: case ctNumber: case ctPercentage: case ctDimension: case ctFunction: case ctColon:
      case ctOpenBr: case ctSlash:
        AddSelector();
        break;
      case ctDelimiter:
        if (t.Name == u"*" || t.Name == u".")
          AddSelector();
        else
          Read();
        break;
      case ctAtKeyword:
        AddAtKeyword();
        break;
      case ctString: case ctURI: case ctCDO: case ctCDC: case ctSemicolon: case ctOpenPar: case ctClosePar:
      case ctCloseBr:
        SkipSection();
        break;
      case ctBlockStart:
        blockStart = true;
        break;
      case ctBlockEnd:
        EndBlock();
        Read();
        break;
      case ctComment: case ctComma: case ctSpace: case ctUnknown:
        Read();
        break;
      default:
        throw ECSSParserError(UnicodeString(u"Unknown token type"));
    }
    if (blockStart) break;
  }
  FSection->Selectors->EndPos = Eof() ? FSection->BlockStartPos : Tok().StartPos;
  if (!Eof() && Tok().CType == ctBlockStart) ReadSectionValues();
  FSection->BlockEndPos = Tok().EndPos;
  FSection->MediaSet = FMediaSet ? FMediaSet : DefaultCSSMediaSet();
  FSection->Compile();
  return !Eof() || FSection->Selectors->Count() > 0 || !FSection->Values.empty();
}

// The end of an "@media" or "@keyframes" block.
void TCSSParser::EndBlock() {
  FMediaIndex = 0;
  // A query of width limits alone names no medium: it is for all.
  if (FMediaSet && FMediaSet->Media.Empty()) FMediaSet->Media.Include(cmAll);
  FMediaSet = nullptr;
  FKeyFrames.Clear();
  FInKeyFrames = false;
}

void TCSSParser::AddSelector() {
  FScratch.clear();
  const int32_t start = Tok().StartPos;
  int32_t end = start;
  while (!Eof()) {
    const TCSSToken& t = Tok();
    switch (t.CType) {
      case ctBlockStart:
      case ctComma:
        goto done;
      case ctComment:
      case ctSlash:
        break;
      case ctBlockEnd: case ctURI: case ctCDO: case ctCDC: case ctSemicolon:
        SkipSection();
        return;
      default:
        FScratch.push_back(t);
        end = t.EndPos;
        break;
    }
    Read();
  }
done:
  while (!FScratch.empty() && FScratch.back().CType == ctSpace) FScratch.pop_back();
  if (FScratch.empty()) return;
  TCSSSelector* s = BuildSelector(FScratch.data(), int32_t(FScratch.size()));
  if (!s) return;
  s->StartPos = start;
  s->EndPos = end;
  FSection->AddSelector(s);
}

void TCSSParser::ReadSectionValues() {
  // Declarations gather in a vector that keeps its room from rule to rule;
  // the rule gets them in one allocation of the exact size.
  FValues.clear();
  for (TCSSValue& v : FSection->Values) FValues.push_back(std::move(v));
  ReadDeclarations();
  FSection->Values.assign(std::make_move_iterator(FValues.begin()), std::make_move_iterator(FValues.end()));
  FValues.clear();
}

void TCSSParser::ReadDeclarations() {
  Read();
  while (!Eof()) {
    const TCSSToken& t = Tok();
    switch (t.CType) {
      case ctIdent:
        AddValue();
        break;
      case ctBlockEnd:
      case ctCDC:
        return;
      case ctCDO: case ctComment: case ctSemicolon: case ctSlash: case ctSpace:
        Read();
        break;
      case ctDelimiter:
        // "*zoom: 1" and its kin are dropped on purpose.
        if (t.Name == u"*")
          SkipValue();
        else
          Read();
        break;
      default:
        SkipValue();
        break;
    }
  }
}

void TCSSParser::SkipValue() {
  while (!Eof() && Tok().CType != ctBlockEnd && Tok().CType != ctSemicolon) Read();
}

void TCSSParser::SkipSection() {
  while (!Eof() && Tok().CType != ctBlockEnd) Read();
  if (!Eof()) Read();
}

void TCSSParser::AddValue() {
  TCSSToken name = Tok();
  Read();
  SkipBlanks();
  if (Eof() || Tok().CType != ctColon) return;  // dropped; the position stays
  std::vector<TCSSToken>& tokens = FValueScratch;
  tokens.clear();
  bool important = false;
  Read();
  while (!Eof()) {
    const TCSSToken& t = Tok();
    switch (t.CType) {
      case ctDelimiter:
        if (t.Name == u"!") {
          Read();
          SkipBlanks();
          if (!Eof() && Tok().CType == ctIdent && SameText(Tok().Name.view(), u"important")) {
            important = true;
            Read();
          }
          // Anything else stands on its own; the "!" is lost.
          continue;
        }
        tokens.push_back(t);
        break;
      case ctAtKeyword:
      case ctBlockStart:
      case ctCDC:
        SkipValue();
        return;
      case ctBlockEnd:
      case ctCDO:
      case ctSemicolon:
        goto end;  // a "}" stays current for ReadSectionValues
      case ctSpace:
      case ctComment:
      case ctUnknown:
        break;
      default:
        tokens.push_back(t);
        break;
    }
    Read();
  }
end:
  if (tokens.empty()) return;
  TCSSValue v;
  v.NameToken = name;
  // One allocation of the exact size for the value's tokens.
  v.Tokens.SetLength(int32_t(tokens.size()));
  for (size_t i = 0; i < tokens.size(); ++i) v.Tokens[int32_t(i)] = std::move(tokens[i]);
  v.Important = important;
  if (!PrepareValue(v, FSection)) return;
  // The last valid declaration of a property wins within a block, whatever
  // the "!important" flags say.
  TCSSValues& values = FValues;
  values.erase(std::remove_if(values.begin(), values.end(),
                              [&](const TCSSValue& o) { return o.NameToken.Name == name.Name; }),
               values.end());
  values.push_back(std::move(v));
}

void TCSSParser::AddAtKeyword() {
  const UnicodeString keyword = LowerCase(Tok().Name);
  if (keyword == u"@charset") {
    // The text is UTF-16 already: the name is read and not used.
    while (Read() && Tok().CType != ctSemicolon && Tok().CType != ctBlockStart && Tok().CType != ctBlockEnd) {
    }
    if (!Eof() && Tok().CType == ctSemicolon) Read();
  } else if (keyword == u"@font-face" || keyword == u"@page") {
    if (keyword == u"@font-face") FSection->FontFace = true;
    AddSelector();
  } else if (keyword == u"@import") {
    AddImport();
  } else if (keyword == u"@keyframes" || (keyword.view().starts_with(u"@-") && keyword.view().ends_with(u"-keyframes"))) {
    // The prefixed forms hold the same frames; read as plain key frames
    // they leave no stray rules behind.
    ReadKeyFrames();
  } else if (keyword == u"@media") {
    ReadMedia();
  } else {
    SkipSection();
  }
}

void TCSSParser::ReadKeyFrames() {
  UnicodeString name;
  while (Read() && Tok().CType != ctBlockStart) {
    if (Tok().CType == ctIdent || Tok().CType == ctString) name = Tok().Name;
    if (Tok().CType == ctSemicolon || Tok().CType == ctBlockEnd) return;  // no block follows
  }
  if (Eof()) return;
  Read();  // over "{"
  FKeyFrames = name;
  FInKeyFrames = true;
  FMediaSet = nullptr;
}

void TCSSParser::AddImport() {
  Read();
  SkipBlanks();
  if (Eof()) return;
  if (Tok().CType == ctSemicolon) {
    Read();
    return;
  }
  TCSSImport imp;
  imp.URL = Tok();
  while (Read() && Tok().CType != ctSemicolon) {
    const TCSSTokenType type = Tok().CType;
    if (type == ctIdent || type == ctString || type == ctFunction) imp.Media.Add(Tok());
  }
  Imports.push_back(std::move(imp));
  if (!Eof()) Read();  // over ";"
}

void TCSSParser::ReadMedia() {
  auto* set = new TCSSMediaSet();
  FMediaSets.Add(set);
  FMediaSet = set;
  std::u16string text;
  auto addText = [&](const UnicodeString& s) {
    if (!text.empty()) text += u' ';
    text += s.view();
  };
  bool block = false;
  while (set->AddNextToken(FTokenizer)) {
    const TCSSToken& t = Tok();
    if (t.CType == ctBlockStart) {
      block = true;
      break;
    }
    if (t.CType == ctSemicolon || t.CType == ctBlockEnd) break;
    if (t.CType == ctOpenPar) {
      // A condition "(feature: value)".
      UnicodeString feature;
      int64_t value = 0;
      bool more = true;
      while ((more = set->AddNextToken(FTokenizer)) && (Tok().CType == ctSpace || Tok().CType == ctComment)) {
      }
      if (!more) break;
      feature = LowerCase(Tok().Name);
      while (Tok().CType != ctColon && Tok().CType != ctClosePar && Tok().CType != ctBlockStart &&
             Tok().CType != ctSemicolon && (more = set->AddNextToken(FTokenizer))) {
      }
      if (!more) break;
      if (Tok().CType == ctColon) {
        while ((more = set->AddNextToken(FTokenizer)) && (Tok().CType == ctSpace || Tok().CType == ctComment)) {
        }
        if (!more) break;
        // The unit isn't looked at: "40em" counts 40.
        if ((Tok().CType == ctNumber || Tok().CType == ctDimension) && std::isfinite(Tok().AsFloat))
          value = std::llround(double(Tok().AsFloat));
        while (Tok().CType != ctClosePar && Tok().CType != ctBlockStart && Tok().CType != ctSemicolon &&
               (more = set->AddNextToken(FTokenizer))) {
        }
        if (!more) break;
      }
      if (Tok().CType == ctBlockStart) {
        block = true;
        break;
      }
      if (Tok().CType == ctSemicolon) break;
      if (feature == u"min-width")
        set->MinWidth = value;
      else if (feature == u"max-width")
        set->MaxWidth = value;
      else if (feature == u"min-device-width")
        set->MinDeviceWidth = value;
      else if (feature == u"max-device-width")
        set->MaxDeviceWidth = value;
      else if (!feature.IsEmpty())
        addText(feature);  // other features are taken as holding, and keep their name
      continue;
    }
    if (t.CType == ctIdent) {
      if (SameText(t.Name.view(), u"only") || SameText(t.Name.view(), u"and")) continue;
      int32_t medium = 0;
      if (IsEnum2(u"cm", t.Name, EnumInfo(cmAll), medium) && medium != cmUnknown) set->Media.Include(TCSSMedia(medium));
      addText(t.Name);
    }
  }
  set->SizeQuery = set->MinWidth || set->MaxWidth || set->MinDeviceWidth || set->MaxDeviceWidth;
  UnicodeString query = Trim(UnicodeString(text));
  auto it = std::find(FMediaTexts.begin(), FMediaTexts.end(), query);
  if (it == FMediaTexts.end()) it = FMediaTexts.insert(FMediaTexts.end(), query);
  FMediaIndex = int32_t(it - FMediaTexts.begin());
  if (set->Media.Empty() && !query.IsEmpty()) set->Media.Include(cmUnknown);
  FKeyFrames.Clear();
  FInKeyFrames = false;
  if (block) {
    Read();  // over "{"
  } else {
    // "@media x;" opens no block.
    FMediaSet = nullptr;
    FMediaIndex = 0;
    if (!Eof()) Read();
  }
}

}  // namespace norvane
