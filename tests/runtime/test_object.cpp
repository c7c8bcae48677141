#include <gtest/gtest.h>

#include <memory>

#include "norvane/runtime/exception.h"
#include "norvane/runtime/object.h"

using namespace norvane;

namespace {

class TAnimal : public TObject {
  NV_CLASS(TAnimal, TObject)
 public:
  virtual const char* Sound() const { return "..."; }
};
class TDog : public TAnimal {
  NV_CLASS(TDog, TAnimal)
 public:
  const char* Sound() const override { return "woof"; }
};
class TPuppy : public TDog {
  NV_CLASS(TPuppy, TDog)
};
// No parameterless constructor: the class reference cannot create one.
class TNamed : public TObject {
  NV_CLASS(TNamed, TObject)
 public:
  explicit TNamed(int) {}
};

class TCountedIntf : public TInterfacedObject {
  NV_CLASS(TCountedIntf, TInterfacedObject)
 public:
  static inline int live = 0;
  TCountedIntf() { ++live; }
  ~TCountedIntf() override { --live; }
};
class TDerivedIntf : public TCountedIntf {
  NV_CLASS(TDerivedIntf, TCountedIntf)
};

NV_ENUM(TTestColor, tcRed, tcGreen, tcDarkBlue)

enum TFlag : int32_t { fA, fB, fC, fLast = 63 };

}  // namespace

NV_CLASS_IMPL(TAnimal, "test")
NV_CLASS_IMPL(TDog, "test")
NV_CLASS_IMPL(TPuppy, "test")
NV_CLASS_IMPL(TNamed, "test")
NV_CLASS_IMPL(TCountedIntf, "test")
NV_CLASS_IMPL(TDerivedIntf, "test")

TEST(Object, ClassIdentityAndParentChain) {
  TPuppy p;
  TObject& o = p;
  EXPECT_EQ(o.ClassType(), TPuppy::StaticClass());
  EXPECT_EQ(o.ClassName(), u"TPuppy");
  EXPECT_STREQ(o.ClassType()->UnitName, "test");

  std::vector<std::string> chain;
  for (TClass c = o.ClassType(); c; c = c->Parent) chain.push_back(c->Name);
  EXPECT_EQ(chain, (std::vector<std::string>{"TPuppy", "TDog", "TAnimal", "TObject"}));

  struct Case {
    TClass cls, ancestor;
    bool inherits;
  };
  const Case cases[] = {
      {TPuppy::StaticClass(), TPuppy::StaticClass(), true},
      {TPuppy::StaticClass(), TAnimal::StaticClass(), true},
      {TPuppy::StaticClass(), TObject::StaticClass(), true},
      {TAnimal::StaticClass(), TDog::StaticClass(), false},
      {TDog::StaticClass(), TNamed::StaticClass(), false},
      {TPuppy::StaticClass(), nullptr, false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.cls->Name) + " / " + (c.ancestor ? c.ancestor->Name : "nil"));
    EXPECT_EQ(c.cls->InheritsFrom(c.ancestor), c.inherits);
  }
  EXPECT_TRUE(o.Is<TDog>());
  EXPECT_FALSE(o.Is<TNamed>());
  EXPECT_EQ(TPuppy::StaticClass(), TPuppy::StaticClass()) << "one class reference per class";
}

TEST(Object, VirtualConstructorAndRegistry) {
  TClass cls = TDog::StaticClass();
  std::unique_ptr<TObject> made(cls->Create());
  ASSERT_NE(made, nullptr);
  EXPECT_EQ(made->ClassType(), cls);
  EXPECT_STREQ(static_cast<TAnimal*>(made.get())->Sound(), "woof");

  try {
    TNamed::StaticClass()->Create();
    ADD_FAILURE() << "no default constructor";
  } catch (const EInvalidOperation& e) {
    EXPECT_STREQ(e.what(), "Class TNamed has no default constructor");
  }

  RegisterClass(TAnimal::StaticClass());
  RegisterClass(TDog::StaticClass());
  RegisterClass(TDog::StaticClass());  // twice is harmless
  EXPECT_EQ(FindClass(u"TDog"), TDog::StaticClass());
  EXPECT_EQ(FindClass(u"tanimal"), TAnimal::StaticClass()) << "names are found without case";
  EXPECT_EQ(FindClass(u"TPuppy"), nullptr) << "not registered";
  EXPECT_EQ(FindClass(u""), nullptr);
}

TEST(Object, AsCastsOrRaises) {
  TDog dog;
  TAnimal animal;
  EXPECT_EQ(As<TAnimal>(&dog), &dog);
  EXPECT_EQ(As<TDog>(static_cast<TObject*>(nullptr)), nullptr);
  try {
    As<TDog>(&animal);
    ADD_FAILURE() << "cast should fail";
  } catch (const EInvalidCast& e) {
    EXPECT_STREQ(e.what(), "Invalid class typecast: TAnimal is not TDog");
  }
}

TEST(Object, EnumNameTables) {
  const TEnumInfo& info = EnumInfo(TTestColor{});
  EXPECT_STREQ(info.TypeName(), "TTestColor");
  EXPECT_EQ(info.Count(), 3);
  struct Case {
    const char16_t* name;
    int32_t value;
  };
  const Case cases[] = {
      {u"tcRed", tcRed}, {u"TCDARKBLUE", tcDarkBlue}, {u"tcgreen", tcGreen},
      {u"tcBlue", -1},   {u"", -1},                   {u"tcRed ", -1},
  };
  for (const auto& c : cases) EXPECT_EQ(info.Value(c.name), c.value) << UnicodeString(c.name).ToUtf8();
  EXPECT_EQ(info.Name(tcDarkBlue), u"tcDarkBlue");
  EXPECT_TRUE(info.Name(3).IsEmpty());
  EXPECT_TRUE(info.Name(-1).IsEmpty());
}

TEST(Object, SetsAreBitMasks) {
  using S = TSet<TFlag>;
  S s{fA, fC};
  EXPECT_TRUE(s.Contains(fA));
  EXPECT_FALSE(s.Contains(fB));
  s.Include(fLast).Exclude(fA).Exclude(fA);
  EXPECT_EQ(s.Bits(), (uint64_t(1) << 63) | 4u);
  EXPECT_EQ((S{fA, fB} + S{fB, fC}), (S{fA, fB, fC}));
  EXPECT_EQ((S{fA, fB} - S{fB, fC}), S{fA});
  EXPECT_EQ((S{fA, fB} * S{fB, fC}), S{fB});
  EXPECT_TRUE(S().Empty());
  EXPECT_EQ(S::FromBits(2), S{fB});
}

TEST(Object, IntfPtrCountsReferences) {
  ASSERT_EQ(TCountedIntf::live, 0);
  {
    IntfPtr<TCountedIntf> a(new TCountedIntf);
    EXPECT_EQ(a->RefCount(), 1);
    IntfPtr<TCountedIntf> b = a;
    EXPECT_EQ(a->RefCount(), 2);
    IntfPtr<TCountedIntf> c = std::move(b);
    EXPECT_FALSE(b);
    EXPECT_EQ(a->RefCount(), 2);
    c = c;  // self-assignment keeps the object
    EXPECT_EQ(a->RefCount(), 2);
    c = nullptr;
    EXPECT_EQ(a->RefCount(), 1);
    EXPECT_TRUE(a == IntfPtr<TCountedIntf>(a.get()));

    IntfPtr<TDerivedIntf> d(new TDerivedIntf);
    IntfPtr<TCountedIntf> base = d;  // converts to a base pointer
    EXPECT_EQ(d->RefCount(), 2);
    EXPECT_EQ(TCountedIntf::live, 2);
    a = base;  // the first object loses its last reference
    EXPECT_EQ(TCountedIntf::live, 1);
  }
  EXPECT_EQ(TCountedIntf::live, 0);
}
