#include "norvane/markup/html_colors.h"

#include <atomic>
#include <cstddef>
#include <string_view>

#include "norvane/foundation/hash.h"
#include "norvane/foundation/ht_string_dictionary.h"
#include "norvane/foundation/string_parser.h"
#include "norvane/runtime/sysutils.h"

namespace norvane {

namespace {

struct ColorSeed {
  const char16_t* Name;
  uint32_t Color;
};

// Written as documents spell them; folded to lower case when the table is
// built. "IndianRed " and "Indigo " keep their trailing blank on purpose.
constexpr ColorSeed kColorSeeds[] = {
    {u"AliceBlue", 0xF0F8FF},
    {u"AntiqueWhite", 0xFAEBD7},
    {u"Aqua", 0x00FFFF},
    {u"Aquamarine", 0x7FFFD4},
    {u"Azure", 0xF0FFFF},
    {u"Beige", 0xF5F5DC},
    {u"Bisque", 0xFFE4C4},
    {u"Black", 0x000000},
    {u"BlanchedAlmond", 0xFFEBCD},
    {u"Blue", 0x0000FF},
    {u"BlueViolet", 0x8A2BE2},
    {u"Brown", 0xA52A2A},
    {u"BurlyWood", 0xDEB887},
    {u"CadetBlue", 0x5F9EA0},
    {u"Chartreuse", 0x7FFF00},
    {u"Chocolate", 0xD2691E},
    {u"Coral", 0xFF7F50},
    {u"CornflowerBlue", 0x6495ED},
    {u"Cornsilk", 0xFFF8DC},
    {u"Crimson", 0xDC143C},
    {u"Cyan", 0x00FFFF},
    {u"DarkBlue", 0x00008B},
    {u"DarkCyan", 0x008B8B},
    {u"DarkGoldenRod", 0xB8860B},
    {u"DarkGray", 0xA9A9A9},
    {u"DarkGreen", 0x006400},
    {u"DarkKhaki", 0xBDB76B},
    {u"DarkMagenta", 0x8B008B},
    {u"DarkOliveGreen", 0x556B2F},
    {u"DarkOrange", 0xFF8C00},
    {u"DarkOrchid", 0x9932CC},
    {u"DarkRed", 0x8B0000},
    {u"DarkSalmon", 0xE9967A},
    {u"DarkSeaGreen", 0x8FBC8F},
    {u"DarkSlateBlue", 0x483D8B},
    {u"DarkSlateGray", 0x2F4F4F},
    {u"DarkTurquoise", 0x00CED1},
    {u"DarkViolet", 0x9400D3},
    {u"DeepPink", 0xFF1493},
    {u"DeepSkyBlue", 0x00BFFF},
    {u"DimGray", 0x696969},
    {u"DodgerBlue", 0x1E90FF},
    {u"FireBrick", 0xB22222},
    {u"FloralWhite", 0xFFFAF0},
    {u"ForestGreen", 0x228B22},
    {u"Fuchsia", 0xFF00FF},
    {u"Gainsboro", 0xDCDCDC},
    {u"GhostWhite", 0xF8F8FF},
    {u"Gold", 0xFFD700},
    {u"GoldenRod", 0xDAA520},
    {u"Gray", 0x808080},
    {u"Green", 0x008000},
    {u"GreenYellow", 0xADFF2F},
    {u"Grey", 0x808080},
    {u"HoneyDew", 0xF0FFF0},
    {u"HotPink", 0xFF69B4},
    {u"IndianRed ", 0xCD5C5C},
    {u"Indigo ", 0x4B0082},
    {u"Ivory", 0xFFFFF0},
    {u"Khaki", 0xF0E68C},
    {u"Lavender", 0xE6E6FA},
    {u"LavenderBlush", 0xFFF0F5},
    {u"LawnGreen", 0x7CFC00},
    {u"LemonChiffon", 0xFFFACD},
    {u"LightBlue", 0xADD8E6},
    {u"LightCoral", 0xF08080},
    {u"LightCyan", 0xE0FFFF},
    {u"LightGoldenRodYellow", 0xFAFAD2},
    {u"LightGray", 0xD3D3D3},
    {u"LightGreen", 0x90EE90},
    {u"LightGrey", 0xD3D3D3},
    {u"LightPink", 0xFFB6C1},
    {u"LightSalmon", 0xFFA07A},
    {u"LightSeaGreen", 0x20B2AA},
    {u"LightSkyBlue", 0x87CEFA},
    {u"LightSlateGray", 0x778899},
    {u"LightSteelBlue", 0xB0C4DE},
    {u"LightYellow", 0xFFFFE0},
    {u"Lime", 0x00FF00},
    {u"LimeGreen", 0x32CD32},
    {u"Linen", 0xFAF0E6},
    {u"Magenta", 0xFF00FF},
    {u"Maroon", 0x800000},
    {u"MediumAquaMarine", 0x66CDAA},
    {u"MediumBlue", 0x0000CD},
    {u"MediumOrchid", 0xBA55D3},
    {u"MediumPurple", 0x9370DB},
    {u"MediumSeaGreen", 0x3CB371},
    {u"MediumSlateBlue", 0x7B68EE},
    {u"MediumSpringGreen", 0x00FA9A},
    {u"MediumTurquoise", 0x48D1CC},
    {u"MediumVioletRed", 0xC71585},
    {u"MidnightBlue", 0x191970},
    {u"MintCream", 0xF5FFFA},
    {u"MistyRose", 0xFFE4E1},
    {u"Moccasin", 0xFFE4B5},
    {u"NavajoWhite", 0xFFDEAD},
    {u"Navy", 0x000080},
    {u"OldLace", 0xFDF5E6},
    {u"Olive", 0x808000},
    {u"OliveDrab", 0x6B8E23},
    {u"Orange", 0xFFA500},
    {u"OrangeRed", 0xFF4500},
    {u"Orchid", 0xDA70D6},
    {u"PaleGoldenRod", 0xEEE8AA},
    {u"PaleGreen", 0x98FB98},
    {u"PaleTurquoise", 0xAFEEEE},
    {u"PaleVioletRed", 0xDB7093},
    {u"PapayaWhip", 0xFFEFD5},
    {u"PeachPuff", 0xFFDAB9},
    {u"Peru", 0xCD853F},
    {u"Pink", 0xFFC0CB},
    {u"Plum", 0xDDA0DD},
    {u"PowderBlue", 0xB0E0E6},
    {u"Purple", 0x800080},
    {u"Red", 0xFF0000},
    {u"RosyBrown", 0xBC8F8F},
    {u"RoyalBlue", 0x4169E1},
    {u"SaddleBrown", 0x8B4513},
    {u"Salmon", 0xFA8072},
    {u"SandyBrown", 0xF4A460},
    {u"SeaGreen", 0x2E8B57},
    {u"SeaShell", 0xFFF5EE},
    {u"Sienna", 0xA0522D},
    {u"Silver", 0xC0C0C0},
    {u"SkyBlue", 0x87CEEB},
    {u"SlateBlue", 0x6A5ACD},
    {u"SlateGray", 0x708090},
    {u"Snow", 0xFFFAFA},
    {u"SpringGreen", 0x00FF7F},
    {u"SteelBlue", 0x4682B4},
    {u"Tan", 0xD2B48C},
    {u"Teal", 0x008080},
    {u"Thistle", 0xD8BFD8},
    {u"Tomato", 0xFF6347},
    {u"Turquoise", 0x40E0D0},
    {u"Violet", 0xEE82EE},
    {u"Wheat", 0xF5DEB3},
    {u"White", 0xFFFFFF},
    {u"WhiteSmoke", 0xF5F5F5},
    {u"Yellow", 0xFFFF00},
    {u"YellowGreen", 0x9ACD32},
};
constexpr int32_t kColorCount = int32_t(std::size(kColorSeeds));
static_assert(kColorCount == 142);

struct SysSeed {
  const char16_t* Name;
  int32_t Index;
};

// Sorted in upper case; the order holds after folding, since no name has a
// character between 'Z' and 'a'.
constexpr SysSeed kSysSeeds[] = {
    {u"ACTIVEBORDER", 10},
    {u"ACTIVECAPTION", 2},
    {u"APPWORKSPACE", 12},
    {u"BACKGROUND", 1},
    {u"BTNFACE", 15},
    {u"BTNHIGHLIGHT", 20},
    {u"BTNSHADOW", 16},
    {u"BTNTEXT", 18},
    {u"BUTTONFACE", 15},
    {u"BUTTONTEXT", 18},
    {u"C3DDKSHADOW", 21},
    {u"C3DFACE", 15},
    {u"C3DHIGHLIGHT", 20},
    {u"C3DHILIGHT", 20},
    {u"C3DLIGHT", 22},
    {u"C3DSHADOW", 16},
    {u"CANVAS", 5},
    {u"CANVASTEXT", 8},
    {u"CAPTIONTEXT", 9},
    {u"DESKTOP", 1},
    {u"FIELD", 5},
    {u"FIELDTEXT", 8},
    {u"GRADIENTACTIVECAPTION", 27},
    {u"GRADIENTINACTIVECAPTION", 28},
    {u"GRAYTEXT", 17},
    {u"HIGHLIGHT", 13},
    {u"HIGHLIGHT2", 130},
    {u"HIGHLIGHTTEXT", 14},
    {u"HOTLIGHT", 26},
    {u"INACTIVEBORDER", 11},
    {u"INACTIVECAPTION", 3},
    {u"INACTIVECAPTIONTEXT", 19},
    {u"INFOBK", 24},
    {u"INFOTEXT", 23},
    {u"MENU", 4},
    {u"MENUBAR", 30},
    {u"MENUHIGHLIGHT", 29},
    {u"MENUTEXT", 7},
    {u"SCROLLBAR", 0},
    {u"WINDOW", 5},
    {u"WINDOWFRAME", 6},
    {u"WINDOWTEXT", 8},
};
constexpr int32_t kSysCount = int32_t(std::size(kSysSeeds));
static_assert(kSysCount == 42);

// The classic palette in the system's own byte order, 0x00BBGGRR.
constexpr uint32_t kClassicSysColors[31] = {
    0xC8D0D4, 0xA56E3A, 0x6A240A, 0x808080, 0xC8D0D4, 0xFFFFFF, 0x000000, 0x000000,
    0x000000, 0xFFFFFF, 0xC8D0D4, 0xC8D0D4, 0x808080, 0x6A240A, 0xFFFFFF, 0xC8D0D4,
    0x808080, 0x808080, 0x000000, 0xC8D0D4, 0xFFFFFF, 0x404040, 0xC8D0D4, 0x000000,
    0xE1FFFF, 0xB5B5B5, 0x800000, 0xF0CAA6, 0xC0C0C0, 0x6A240A, 0xC8D0D4,
};

constexpr char16_t Fold(char16_t c) noexcept { return c >= u'A' && c <= u'Z' ? char16_t(c + 32) : c; }

UnicodeString Folded(const char16_t* s) {
  UnicodeString r(s);
  char16_t* d = r.MutableData();
  for (int32_t i = 0, n = r.Length(); i < n; ++i) d[i] = Fold(d[i]);
  return r;
}

struct Tables {
  THtColorName Colors[kColorCount];
  THtSysColorName SysColors[kSysCount];
  THtPointerDictionary Dictionary{kColorCount, int32_t(offsetof(THtColorName, Name)), &RSHash};

  Tables() {
    for (int32_t i = 0; i < kColorCount; ++i) {
      Colors[i].Name = Folded(kColorSeeds[i].Name);
      Colors[i].Color = kColorSeeds[i].Color;
      Dictionary.AddPointer(&Colors[i]);
    }
    for (int32_t i = 0; i < kSysCount; ++i) {
      SysColors[i].Name = Folded(kSysSeeds[i].Name);
      SysColors[i].Index = kSysSeeds[i].Index;
    }
  }
};

const Tables& GetTables() {
  static const Tables tables;
  return tables;
}

std::atomic<THtThemeColorProc> gThemeColorProc{&HtDefaultThemeColor};

// No name in either table is longer than this, so longer texts miss without
// a lookup and the fold fits on the stack.
constexpr int32_t kMaxNameLength = 32;

// Folds `name` into `buf`; false when it is too long to be any colour name.
bool FoldName(const UnicodeString& name, char16_t (&buf)[kMaxNameLength], int32_t& length) noexcept {
  length = name.Length();
  if (length == 0 || length > kMaxNameLength) return false;
  const char16_t* s = name.Data();
  for (int32_t i = 0; i < length; ++i) buf[i] = Fold(s[i]);
  return true;
}

int32_t HexDigit(char16_t c) noexcept {
  if (c >= u'0' && c <= u'9') return c - u'0';
  if (c >= u'a' && c <= u'f') return c - u'a' + 10;
  if (c >= u'A' && c <= u'F') return c - u'A' + 10;
  return -1;
}

// The digits of a hexadecimal colour, without the "#" (n of them).
uint32_t HexDigitsToColor(const char16_t* s, int32_t n) noexcept {
  for (int32_t i = 0; i < n; ++i)
    if (HexDigit(s[i]) < 0) return HtNoColor;
  auto d = [s](int32_t i) { return uint32_t(HexDigit(s[i])); };
  switch (n + 1) {  // the length with its "#"
    case 4:
      return 0xFF000000u | d(0) * 17 << 16 | d(1) * 17 << 8 | d(2) * 17;
    case 5:
      return d(3) * 17 << 24 | d(0) * 17 << 16 | d(1) * 17 << 8 | d(2) * 17;
    case 7:
    case 8:
      return 0xFF000000u | (d(0) << 4 | d(1)) << 16 | (d(2) << 4 | d(3)) << 8 | (d(4) << 4 | d(5));
    default:
      if (n + 1 < 9) return HtNoColor;
      return (d(6) << 4 | d(7)) << 24 | (d(0) << 4 | d(1)) << 16 | (d(2) << 4 | d(3)) << 8 | (d(4) << 4 | d(5));
  }
}

uint32_t AlphaByte(double alpha) noexcept { return uint32_t(Round(alpha * 255)) << 24; }

// Nested "rgba(rgba(..." would otherwise recurse once per level.
constexpr int32_t kMaxNesting = 4;

uint32_t HextoColor(const UnicodeString& text, int32_t* isSystem, int32_t depth);

// "rgba(r, g, b, a)" or "rgba(colour, a)", alpha between 0 and 1. The
// channels are not clamped: a value above 255 spills into the next field.
uint32_t ReadRgba(const UnicodeString& text, int32_t depth) {
  TStringParser sp(text);
  sp.Skipto(u'(');
  sp.Next();
  sp.SkipBlanks();
  if (!(sp.GetCurrent() >= u'0' && sp.GetCurrent() <= u'9')) {
    UnicodeString inner;
    sp.ReadtoChar(u',', inner, true);
    uint32_t base = HextoColor(inner, nullptr, depth + 1);
    if (base == HtNoColor) return HtNoColor;
    return AlphaByte(sp.ReadNum()) | (base & 0x00FFFFFF);
  }
  uint32_t rgb = 0;
  for (int shift = 16; shift >= 0; shift -= 8) {
    rgb |= uint32_t(sp.ReadInt()) << shift;
    sp.Skipto(u',');
    sp.Next();
  }
  return AlphaByte(sp.ReadNum()) | rgb;
}

uint32_t HextoColor(const UnicodeString& text, int32_t* isSystem, int32_t depth) {
  if (isSystem) *isSystem = 0;
  const int32_t n = text.Length();
  if (n == 0) return 0xFF000000;
  const std::u16string_view v = text.view();
  if (v == u"transparent") return HtTransparentColor;
  if (v == u"none") return HtNoneColor;
  if (v[0] == u'#') return HexDigitsToColor(v.data() + 1, n - 1);
  if (!isSystem && v.starts_with(u"rgba(")) return depth < kMaxNesting ? ReadRgba(text, depth) : HtNoColor;
  uint32_t c = HtStringtoColor(text);
  if (c == 0) {
    c = HtStringtoSysColor(text);
    if (c == 0) {
      if (v == u"window") c = 0xFFFFFFFF;
      else if (v == u"windowtext") c = 0xFF000000;
    }
    if (c != 0 && isSystem) *isSystem = 1;
  }
  if (c != 0) return c;
  // Attributes often drop the "#": "ff0000" reads as red.
  return HexDigitsToColor(v.data(), n);
}

void AppendHex(char16_t*& d, uint32_t byte) noexcept {
  static constexpr char16_t kDigits[] = u"0123456789abcdef";
  *d++ = kDigits[byte >> 4 & 15];
  *d++ = kDigits[byte & 15];
}

}  // namespace

const THtColorName* HtColorTable(int32_t& count) noexcept {
  count = kColorCount;
  return GetTables().Colors;
}

const THtSysColorName* HtSysColorTable(int32_t& count) noexcept {
  count = kSysCount;
  return GetTables().SysColors;
}

const THtPointerDictionary& GlobalColorDictionary() { return GetTables().Dictionary; }

void SetThemeColorPrc(THtThemeColorProc proc) noexcept {
  gThemeColorProc.store(proc ? proc : &HtDefaultThemeColor, std::memory_order_release);
}

THtThemeColorProc GetThemeColorPrc() noexcept { return gThemeColorProc.load(std::memory_order_acquire); }

uint32_t HtDefaultThemeColor(int32_t index) noexcept {
  uint32_t bgr = index >= 0 && index < int32_t(std::size(kClassicSysColors)) ? kClassicSysColors[index] : 0;
  return 0xFF000000u | (bgr & 0xFF) << 16 | (bgr & 0xFF00) | (bgr >> 16 & 0xFF);
}

uint32_t HtStringtoColor(const UnicodeString& name) noexcept {
  char16_t buf[kMaxNameLength];
  int32_t length;
  if (!FoldName(name, buf, length)) return 0;
  void* row = nullptr;
  if (!GetTables().Dictionary.Find(buf, length, row) || !row) return 0;
  return 0xFF000000u | static_cast<const THtColorName*>(row)->Color;
}

uint32_t HtStringtoSysColor(const UnicodeString& name) noexcept {
  char16_t buf[kMaxNameLength];
  int32_t length;
  if (!FoldName(name, buf, length)) return 0;
  const std::u16string_view key(buf, size_t(length));
  const THtSysColorName* rows = GetTables().SysColors;
  int32_t lo = 0, hi = kSysCount - 1;
  while (lo <= hi) {
    int32_t mid = (lo + hi) / 2;
    int cmp = rows[mid].Name.view().compare(key);
    if (cmp == 0) return GetThemeColorPrc()(rows[mid].Index);
    if (cmp < 0) lo = mid + 1;
    else hi = mid - 1;
  }
  return 0;
}

uint32_t htmlHextoColor(const UnicodeString& text) { return HextoColor(text, nullptr, 0); }

uint32_t htmlHextoColorSys(const UnicodeString& text, int32_t& isSystem) {
  return HextoColor(text, &isSystem, 0);
}

UnicodeString htmlColortoHex(uint32_t color) {
  UnicodeString r = UnicodeString::Alloc(6);
  char16_t* d = r.MutableData();
  AppendHex(d, color >> 16 & 0xFF);
  AppendHex(d, color >> 8 & 0xFF);
  AppendHex(d, color & 0xFF);
  return r;
}

UnicodeString htmlColortoStr(uint32_t color) {
  const bool opaque = (color >> 24) == 0xFF;
  UnicodeString r = UnicodeString::Alloc(opaque ? 7 : 9);
  char16_t* d = r.MutableData();
  *d++ = u'#';
  AppendHex(d, color >> 16 & 0xFF);
  AppendHex(d, color >> 8 & 0xFF);
  AppendHex(d, color & 0xFF);
  if (!opaque) AppendHex(d, color >> 24);
  return r;
}

}  // namespace norvane
