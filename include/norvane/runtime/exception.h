// Exception and its standard descendants.
//
// Exception is a TObject and a std::exception; what() gives the message in
// UTF-8. Each subsystem derives its own class (EHtmlParserException,
// ECSSParserError, ...) from these.
#pragma once

#include <exception>
#include <string>

#include "norvane/runtime/format.h"
#include "norvane/runtime/object.h"

namespace norvane {

class Exception : public TObject, public std::exception {
  NV_CLASS(Exception, TObject)
 public:
  Exception() = default;
  explicit Exception(const UnicodeString& msg) : Message_(msg) {}
  // CreateFmt: the message is Format(fmt, args).
  Exception(std::u16string_view fmt, FormatArgs args);

  const UnicodeString& Message() const noexcept { return Message_; }
  void SetMessage(const UnicodeString& msg) {
    Message_ = msg;
    utf8_.clear();
  }
  const char* what() const noexcept override;

 private:
  UnicodeString Message_;
  mutable std::string utf8_;
};

// One line per standard descendant; each keeps both constructors.
#define NV_EXCEPTION(Cls, ParentCls)                                            \
  class Cls : public ParentCls {                                                \
    NV_CLASS(Cls, ParentCls)                                                    \
   public:                                                                      \
    using ParentCls::ParentCls;                                                 \
  };

NV_EXCEPTION(EAbort, Exception)
NV_EXCEPTION(EConvertError, Exception)
NV_EXCEPTION(EArgumentException, Exception)
NV_EXCEPTION(EArgumentOutOfRangeException, EArgumentException)
NV_EXCEPTION(EInvalidOperation, Exception)
NV_EXCEPTION(EInvalidCast, Exception)
NV_EXCEPTION(EInvalidPointer, Exception)
NV_EXCEPTION(ENotSupportedException, Exception)
NV_EXCEPTION(EListError, Exception)
NV_EXCEPTION(EStringListError, Exception)
NV_EXCEPTION(EStreamError, Exception)
NV_EXCEPTION(EFOpenError, EStreamError)
NV_EXCEPTION(EFCreateError, EStreamError)
NV_EXCEPTION(EReadError, EStreamError)
NV_EXCEPTION(EWriteError, EStreamError)
NV_EXCEPTION(EEncodingError, Exception)
NV_EXCEPTION(EExternal, Exception)
NV_EXCEPTION(EIntError, EExternal)
NV_EXCEPTION(EDivByZero, EIntError)
NV_EXCEPTION(ERangeError, EIntError)
NV_EXCEPTION(EIntOverflow, EIntError)
NV_EXCEPTION(EMathError, EExternal)
NV_EXCEPTION(EZeroDivide, EMathError)
NV_EXCEPTION(EOverflow, EMathError)
NV_EXCEPTION(EVariantError, Exception)
NV_EXCEPTION(EVariantTypeCastError, EVariantError)
NV_EXCEPTION(EThread, Exception)
NV_EXCEPTION(EOSError, Exception)

// The runtime's out-of-memory error; its message is "Out of memory".
class EOutOfMemory : public Exception {
  NV_CLASS(EOutOfMemory, Exception)
 public:
  EOutOfMemory() : Exception(UnicodeString(u"Out of memory")) {}
};

}  // namespace norvane
