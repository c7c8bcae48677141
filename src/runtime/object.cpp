#include "norvane/runtime/object.h"

#include <algorithm>
#include <mutex>
#include <string_view>

#include "norvane/runtime/exception.h"

namespace norvane {

TClass TObject::StaticClass() noexcept {
  static const TClassInfo info{"TObject", "System", nullptr, &detail::FactoryFor<TObject>};
  return &info;
}

NV_CLASS_IMPL(TInterfacedObject, "System")

TObject* TClassInfo::Create() const {
  if (!Factory) throw EInvalidOperation(u"Class %s has no default constructor", {ClassName()});
  return Factory();
}

namespace {
char16_t FoldAscii(char16_t c) noexcept { return c >= u'A' && c <= u'Z' ? char16_t(c + 32) : c; }

int CompareFolded(std::u16string_view a, std::u16string_view b) noexcept {
  size_t n = std::min(a.size(), b.size());
  for (size_t i = 0; i < n; ++i) {
    char16_t x = FoldAscii(a[i]), y = FoldAscii(b[i]);
    if (x != y) return x < y ? -1 : 1;
  }
  return a.size() < b.size() ? -1 : a.size() > b.size() ? 1 : 0;
}

struct ClassRegistry {
  std::mutex lock;
  std::vector<TClass> classes;
};
ClassRegistry& Registry() {
  static ClassRegistry r;
  return r;
}
}  // namespace

void RegisterClass(TClass cls) {
  auto& r = Registry();
  std::lock_guard guard(r.lock);
  if (std::find(r.classes.begin(), r.classes.end(), cls) == r.classes.end()) r.classes.push_back(cls);
}

TClass FindClass(const UnicodeString& name) {
  auto& r = Registry();
  std::lock_guard guard(r.lock);
  for (TClass c : r.classes)
    if (CompareFolded(UnicodeString::FromLatin1(c->Name).view(), name.view()) == 0) return c;
  return nullptr;
}

void RaiseInvalidCast(const TObject* obj, TClass target) {
  throw EInvalidCast(u"Invalid class typecast: %s is not %s",
                     {obj->ClassName(), target->ClassName()});
}

TEnumInfo::TEnumInfo(const char* typeName, const char* names) : typeName_(typeName) {
  std::string_view rest(names);
  while (!rest.empty()) {
    size_t comma = rest.find(',');
    std::string_view item = rest.substr(0, comma);
    size_t b = item.find_first_not_of(" \t\r\n");
    size_t e = item.find_last_not_of(" \t\r\n");
    if (b != std::string_view::npos) names_.push_back(UnicodeString::FromLatin1(item.substr(b, e - b + 1)));
    if (comma == std::string_view::npos) break;
    rest.remove_prefix(comma + 1);
  }
  sorted_.resize(names_.size());
  for (size_t i = 0; i < sorted_.size(); ++i) sorted_[i] = int32_t(i);
  std::stable_sort(sorted_.begin(), sorted_.end(), [&](int32_t a, int32_t b) {
    return CompareFolded(names_[size_t(a)].view(), names_[size_t(b)].view()) < 0;
  });
}

const UnicodeString& TEnumInfo::Name(int32_t value) const noexcept {
  static const UnicodeString empty;
  return value >= 0 && value < Count() ? names_[size_t(value)] : empty;
}

int32_t TEnumInfo::Value(std::u16string_view name) const noexcept {
  auto it = std::lower_bound(sorted_.begin(), sorted_.end(), name, [&](int32_t idx, std::u16string_view key) {
    return CompareFolded(names_[size_t(idx)].view(), key) < 0;
  });
  if (it != sorted_.end() && CompareFolded(names_[size_t(*it)].view(), name) == 0) return *it;
  return -1;
}

}  // namespace norvane
