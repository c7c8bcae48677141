#include "norvane/runtime/exception.h"

namespace norvane {

Exception::Exception(std::u16string_view fmt, FormatArgs args) : Message_(Format(fmt, args)) {}

const char* Exception::what() const noexcept {
  if (utf8_.empty() && !Message_.IsEmpty()) {
    try {
      utf8_ = Message_.ToUtf8();
    } catch (...) {
      return "Exception";
    }
  }
  return utf8_.c_str();
}

NV_CLASS_IMPL(Exception, "SysUtils")
NV_CLASS_IMPL(EAbort, "SysUtils")
NV_CLASS_IMPL(EConvertError, "SysUtils")
NV_CLASS_IMPL(EArgumentException, "SysUtils")
NV_CLASS_IMPL(EArgumentOutOfRangeException, "SysUtils")
NV_CLASS_IMPL(EInvalidOperation, "SysUtils")
NV_CLASS_IMPL(EInvalidCast, "SysUtils")
NV_CLASS_IMPL(EInvalidPointer, "SysUtils")
NV_CLASS_IMPL(ENotSupportedException, "SysUtils")
NV_CLASS_IMPL(EListError, "Classes")
NV_CLASS_IMPL(EStringListError, "Classes")
NV_CLASS_IMPL(EStreamError, "Classes")
NV_CLASS_IMPL(EFOpenError, "Classes")
NV_CLASS_IMPL(EFCreateError, "Classes")
NV_CLASS_IMPL(EReadError, "Classes")
NV_CLASS_IMPL(EWriteError, "Classes")
NV_CLASS_IMPL(EEncodingError, "SysUtils")
NV_CLASS_IMPL(EExternal, "SysUtils")
NV_CLASS_IMPL(EIntError, "SysUtils")
NV_CLASS_IMPL(EDivByZero, "SysUtils")
NV_CLASS_IMPL(ERangeError, "SysUtils")
NV_CLASS_IMPL(EIntOverflow, "SysUtils")
NV_CLASS_IMPL(EMathError, "SysUtils")
NV_CLASS_IMPL(EZeroDivide, "SysUtils")
NV_CLASS_IMPL(EOverflow, "SysUtils")
NV_CLASS_IMPL(EVariantError, "Variants")
NV_CLASS_IMPL(EVariantTypeCastError, "Variants")
NV_CLASS_IMPL(EThread, "Classes")
NV_CLASS_IMPL(EOSError, "SysUtils")
NV_CLASS_IMPL(EOutOfMemory, "System")

}  // namespace norvane
