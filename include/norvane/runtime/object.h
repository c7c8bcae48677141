// TObject, class references and enumeration name tables.
//
// A class reference is a pointer to the class's static TClassInfo: its name,
// unit name, parent and the factory behind its virtual constructor. Classes
// declare themselves with one line, NV_CLASS, inside the class body and one
// line, NV_CLASS_IMPL, in their source file. Reflected members (properties,
// methods) hang off the same TClassInfo when a bridge registers them.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <initializer_list>
#include <type_traits>
#include <utility>
#include <vector>

#include "norvane/runtime/unicode_string.h"

namespace norvane {

class TObject;
struct TClassInfo;
struct TReflectedMembers;  // filled by the script bridge

// Pascal's TClass: a class reference.
using TClass = const TClassInfo*;

struct TClassInfo {
  const char* Name;
  const char* UnitName;
  TClass Parent;
  // The virtual constructor: creates an instance of exactly this class, or
  // nullptr when the class has no parameterless constructor.
  TObject* (*Factory)();
  // Reflected members, filled once by the registry; nullptr until then.
  mutable TReflectedMembers* Members = nullptr;

  bool InheritsFrom(TClass ancestor) const noexcept {
    for (TClass c = this; c; c = c->Parent)
      if (c == ancestor) return true;
    return false;
  }
  UnicodeString ClassName() const { return UnicodeString::FromLatin1(Name); }
  // Calls the virtual constructor; raises EInvalidOperation when there is none.
  TObject* Create() const;
};

// Every class that registers itself is also findable by name.
void RegisterClass(TClass cls);
TClass FindClass(const UnicodeString& name);  // case-insensitive, nullptr if absent

class TObject {
 public:
  TObject() = default;
  TObject(const TObject&) = delete;
  TObject& operator=(const TObject&) = delete;
  virtual ~TObject() = default;

  static TClass StaticClass() noexcept;
  virtual TClass ClassType() const noexcept { return StaticClass(); }
  UnicodeString ClassName() const { return ClassType()->ClassName(); }
  bool InheritsFrom(TClass cls) const noexcept { return ClassType()->InheritsFrom(cls); }
  template <class T>
  bool Is() const noexcept {
    return InheritsFrom(T::StaticClass());
  }
};

// Pascal's Free: null-safe delete.
inline void FreeAndNil(TObject*& obj) noexcept {
  delete obj;
  obj = nullptr;
}

namespace detail {
template <class T>
TObject* FactoryFor() {
  if constexpr (std::is_default_constructible_v<T> && !std::is_abstract_v<T>)
    return new T();
  else
    return nullptr;
}
template <class T>
constexpr TObject* (*FactoryPtr())() {
  if constexpr (std::is_default_constructible_v<T> && !std::is_abstract_v<T>)
    return &FactoryFor<T>;
  else
    return nullptr;
}
}  // namespace detail

// Inside the class body: NV_CLASS(TMyClass, TParent)
#define NV_CLASS(Cls, ParentCls)                        \
 public:                                                \
  using Inherited = ParentCls;                          \
  static ::norvane::TClass StaticClass() noexcept;      \
  ::norvane::TClass ClassType() const noexcept override { return StaticClass(); } \
                                                        \
 private:

// In one source file: NV_CLASS_IMPL(TMyClass, "unitname")
#define NV_CLASS_IMPL(Cls, Unit)                                                        \
  ::norvane::TClass Cls::StaticClass() noexcept {                                       \
    static const ::norvane::TClassInfo info{#Cls, Unit, Cls::Inherited::StaticClass(), \
                                            ::norvane::detail::FactoryPtr<Cls>()};      \
    return &info;                                                                       \
  }

// Checked cast in the manner of Pascal's `as`: nullptr stays nullptr, a wrong
// class raises EInvalidCast.
[[noreturn]] void RaiseInvalidCast(const TObject* obj, TClass target);
template <class T>
T* As(TObject* obj) {
  if (obj && !obj->InheritsFrom(T::StaticClass())) RaiseInvalidCast(obj, T::StaticClass());
  return static_cast<T*>(obj);
}

// --- Interfaces ------------------------------------------------------------

// TInterfacedObject: an object with an atomic reference count whose last
// _Release deletes it. Hold it through IntfPtr<T>.
class TInterfacedObject : public TObject {
  NV_CLASS(TInterfacedObject, TObject)
 public:
  int32_t _AddRef() noexcept { return refs_.fetch_add(1, std::memory_order_relaxed) + 1; }
  int32_t _Release() noexcept {
    int32_t n = refs_.fetch_sub(1, std::memory_order_acq_rel) - 1;
    if (n == 0) delete this;
    return n;
  }
  int32_t RefCount() const noexcept { return refs_.load(std::memory_order_relaxed); }

 private:
  std::atomic<int32_t> refs_{0};
};

// Intrusive smart pointer over _AddRef/_Release.
template <class T>
class IntfPtr {
 public:
  IntfPtr() noexcept = default;
  IntfPtr(std::nullptr_t) noexcept {}  // NOLINT
  IntfPtr(T* p) noexcept : p_(p) {     // NOLINT: adopts like an interface assignment
    if (p_) p_->_AddRef();
  }
  IntfPtr(const IntfPtr& o) noexcept : IntfPtr(o.p_) {}
  IntfPtr(IntfPtr&& o) noexcept : p_(std::exchange(o.p_, nullptr)) {}
  template <class U>
  IntfPtr(const IntfPtr<U>& o) noexcept : IntfPtr(o.get()) {}  // NOLINT
  ~IntfPtr() {
    if (p_) p_->_Release();
  }
  IntfPtr& operator=(IntfPtr o) noexcept {
    std::swap(p_, o.p_);
    return *this;
  }
  T* get() const noexcept { return p_; }
  T* operator->() const noexcept { return p_; }
  T& operator*() const noexcept { return *p_; }
  explicit operator bool() const noexcept { return p_ != nullptr; }
  friend bool operator==(const IntfPtr& a, const IntfPtr& b) noexcept { return a.p_ == b.p_; }

 private:
  T* p_ = nullptr;
};

// --- Enumerations with name tables ----------------------------------------

// Name table of an enumeration, read by IsEnum/IsEnum2 and the script bridge.
// Values are 0..Count()-1 in declaration order.
class TEnumInfo {
 public:
  // `names` is the stringised enumerator list: "a, b, c".
  TEnumInfo(const char* typeName, const char* names);
  const char* TypeName() const noexcept { return typeName_; }
  int32_t Count() const noexcept { return int32_t(names_.size()); }
  // "" when out of range.
  const UnicodeString& Name(int32_t value) const noexcept;
  // Case-insensitive (ASCII) lookup; -1 when absent. No allocation.
  int32_t Value(std::u16string_view name) const noexcept;

 private:
  const char* typeName_;
  std::vector<UnicodeString> names_;
  std::vector<int32_t> sorted_;  // indices ordered by folded name
};

// Declares `enum Type : int32_t { values... }` and its name table, reached
// through EnumInfo(Type{}). Enumerators take no explicit values.
#define NV_ENUM(Type, ...) NV_ENUM_T(Type, int32_t, __VA_ARGS__)

// The same with a chosen underlying type, for enumerations stored in small
// records (one-byte units of a measure, token kinds).
#define NV_ENUM_T(Type, Underlying, ...)                                     \
  enum Type : Underlying { __VA_ARGS__ };                                    \
  inline const ::norvane::TEnumInfo& EnumInfo(Type) {                        \
    static const ::norvane::TEnumInfo info(#Type, #__VA_ARGS__);             \
    return info;                                                             \
  }

// A set over an enumeration: a bit mask. `Storage` is the unsigned type that
// holds it (64 bits unless a small record needs fewer).
template <class E, class Storage = uint64_t>
class TSet {
 public:
  constexpr TSet() noexcept = default;
  constexpr TSet(std::initializer_list<E> items) noexcept {
    for (E e : items) bits_ = Storage(bits_ | Bit(e));
  }
  constexpr bool Contains(E e) const noexcept { return bits_ & Bit(e); }
  constexpr TSet& Include(E e) noexcept { return bits_ = Storage(bits_ | Bit(e)), *this; }
  constexpr TSet& Exclude(E e) noexcept { return bits_ = Storage(bits_ & ~Bit(e)), *this; }
  constexpr bool Empty() const noexcept { return bits_ == 0; }
  constexpr Storage Bits() const noexcept { return bits_; }
  static constexpr TSet FromBits(Storage b) noexcept {
    TSet s;
    s.bits_ = b;
    return s;
  }
  constexpr TSet operator+(TSet o) const noexcept { return FromBits(Storage(bits_ | o.bits_)); }
  constexpr TSet operator-(TSet o) const noexcept { return FromBits(Storage(bits_ & ~o.bits_)); }
  constexpr TSet operator*(TSet o) const noexcept { return FromBits(Storage(bits_ & o.bits_)); }
  constexpr bool operator==(const TSet&) const noexcept = default;

 private:
  static constexpr Storage Bit(E e) noexcept { return Storage(Storage(1) << unsigned(e)); }
  Storage bits_ = 0;
};

}  // namespace norvane
