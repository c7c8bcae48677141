#include "norvane/runtime/streams.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>

#include "norvane/runtime/exception.h"
#include "norvane/runtime/sysutils.h"

namespace norvane {

NV_CLASS_IMPL(TStream, "Classes")
NV_CLASS_IMPL(THandleStream, "Classes")
NV_CLASS_IMPL(TFileStream, "Classes")
NV_CLASS_IMPL(TCustomMemoryStream, "Classes")
NV_CLASS_IMPL(TMemoryStream, "Classes")
NV_CLASS_IMPL(TBytesStream, "Classes")
NV_CLASS_IMPL(TStringStream, "Classes")

namespace {

// One read(2)/write(2) is kept below this so that a count never overflows
// ssize_t handling and large transfers stay interruptible.
constexpr int64_t kMaxIoChunk = int64_t(1) << 30;

UnicodeString SysErrorMessage(int err) {
  char buf[256];
  // GNU strerror_r returns the message, which may not be in `buf`.
  const char* msg = strerror_r(err, buf, sizeof buf);
  return UnicodeString::FromUtf8(msg ? msg : "");
}

// The runtime reports file errors with the expanded path.
UnicodeString ExpandedName(const UnicodeString& fileName) {
  std::error_code ec;
  std::filesystem::path p(fileName.ToUtf8());
  auto abs = std::filesystem::absolute(p, ec);
  if (ec) return fileName;
  return UnicodeString::FromUtf8(abs.lexically_normal().string());
}

}  // namespace

// --- Text encodings ---------------------------------------------------------------

bool IsValidUtf8(const uint8_t* d, size_t n) noexcept {
  size_t i = 0;
  while (i < n) {
    uint8_t c = d[i];
    if (c < 0x80) {
      ++i;
      continue;
    }
    size_t len;
    uint32_t cp;
    if (c >= 0xC2 && c <= 0xDF)
      len = 2, cp = c & 0x1F;
    else if (c >= 0xE0 && c <= 0xEF)
      len = 3, cp = c & 0x0F;
    else if (c >= 0xF0 && c <= 0xF4)
      len = 4, cp = c & 0x07;
    else
      return false;
    if (n - i < len) return false;
    for (size_t k = 1; k < len; ++k) {
      if ((d[i + k] & 0xC0) != 0x80) return false;
      cp = (cp << 6) | (d[i + k] & 0x3F);
    }
    // Overlong forms, surrogates and values past U+10FFFF are not UTF-8.
    if ((len == 3 && cp < 0x800) || (len == 4 && (cp < 0x10000 || cp > 0x10FFFF)) ||
        (cp >= 0xD800 && cp <= 0xDFFF))
      return false;
    i += len;
  }
  return true;
}

TBytes EncodeText(std::u16string_view s, uint32_t codePage) {
  TBytes out;
  if (s.empty()) return out;
  if (codePage == 65001) {
    std::string u8;
    AppendUtf8(u8, s);
    out.assign(u8.begin(), u8.end());
  } else if (codePage == 1200 || codePage == 1201) {
    out.resize(s.size() * 2);
    bool be = codePage == 1201;
    for (size_t i = 0; i < s.size(); ++i) {
      out[2 * i + (be ? 1 : 0)] = uint8_t(s[i] & 0xFF);
      out[2 * i + (be ? 0 : 1)] = uint8_t(s[i] >> 8);
    }
  } else {
    std::string bytes = EncodeCodePage(s, codePage);
    out.assign(bytes.begin(), bytes.end());
  }
  return out;
}

UnicodeString DecodeText(const uint8_t* data, size_t size, uint32_t codePage) {
  if (size == 0) return {};
  if (codePage == 65001)
    return UnicodeString(Utf8ToU16(std::string_view(reinterpret_cast<const char*>(data), size)));
  if (codePage == 1200 || codePage == 1201) {
    bool be = codePage == 1201;
    size_t units = size / 2;
    // A dangling odd byte cannot be a unit; it is kept visible as U+FFFD.
    bool odd = size % 2 != 0;
    if (units + odd > size_t(INT32_MAX)) throw EOutOfMemory();
    UnicodeString result = UnicodeString::Alloc(int32_t(units + odd));
    char16_t* out = result.MutableData();
    for (size_t i = 0; i < units; ++i) {
      uint8_t a = data[2 * i], b = data[2 * i + 1];
      out[i] = be ? char16_t((a << 8) | b) : char16_t((b << 8) | a);
    }
    if (odd) out[units] = u'\xFFFD';
    return result;
  }
  return DecodeCodePage(std::string_view(reinterpret_cast<const char*>(data), size), codePage);
}

// --- TStream ----------------------------------------------------------------------

int64_t TStream::Size() {
  int64_t pos = Seek(0, soCurrent);
  int64_t result = Seek(0, soEnd);
  Seek(pos, soBeginning);
  return result;
}

void TStream::SetSize(int64_t) {}

void TStream::ReadBuffer(void* buffer, int64_t count) {
  if (count < 0) throw EReadError(UnicodeString(u"Stream read error"));
  auto* p = static_cast<uint8_t*>(buffer);
  // Loops so that streams which deliver in pieces (pipes) still fill it.
  while (count > 0) {
    int64_t n = Read(p, count);
    if (n <= 0) throw EReadError(UnicodeString(u"Stream read error"));
    p += n;
    count -= n;
  }
}

void TStream::WriteBuffer(const void* buffer, int64_t count) {
  if (count < 0) throw EWriteError(UnicodeString(u"Stream write error"));
  auto* p = static_cast<const uint8_t*>(buffer);
  while (count > 0) {
    int64_t n = Write(p, count);
    if (n <= 0) throw EWriteError(UnicodeString(u"Stream write error"));
    p += n;
    count -= n;
  }
}

int64_t TStream::CopyFrom(TStream* source, int64_t count, int64_t bufferSize) {
  constexpr int64_t kMaxBufSize = 0xF000;
  if (count <= 0) {
    source->SetPosition(0);
    count = source->Size();
  }
  if (count <= 0) return 0;
  if (bufferSize <= 0) bufferSize = kMaxBufSize;
  int64_t bufSize = std::min(count, bufferSize);
  std::unique_ptr<uint8_t[]> buffer(new uint8_t[size_t(bufSize)]);
  int64_t result = 0;
  while (count != 0) {
    int64_t n = std::min(count, bufSize);
    source->ReadBuffer(buffer.get(), n);
    WriteBuffer(buffer.get(), n);
    count -= n;
    result += n;
  }
  return result;
}

int64_t TStream::Skip(int64_t count) {
  int64_t pos = Position();
  return Seek(count, soCurrent) - pos;
}

TBytes TStream::ReadRemaining() {
  TBytes out;
  int64_t pos = Position(), size = Size();
  if (pos >= 0 && size > pos) {
    // Reserve what Size promises, but trust only what Read delivers.
    out.reserve(size_t(std::min<int64_t>(size - pos, int64_t(1) << 30)));
  }
  uint8_t chunk[0x10000];
  for (;;) {
    int64_t n = Read(chunk, sizeof chunk);
    if (n <= 0) break;
    out.insert(out.end(), chunk, chunk + n);
  }
  return out;
}

// --- THandleStream ----------------------------------------------------------------

int64_t THandleStream::Read(void* buffer, int64_t count) {
  if (count <= 0) return 0;
  for (;;) {
    ssize_t n = ::read(FHandle, buffer, size_t(std::min(count, kMaxIoChunk)));
    if (n >= 0) return n;
    if (errno != EINTR) return 0;
  }
}

int64_t THandleStream::Write(const void* buffer, int64_t count) {
  if (count <= 0) return 0;
  for (;;) {
    ssize_t n = ::write(FHandle, buffer, size_t(std::min(count, kMaxIoChunk)));
    if (n >= 0) return n;
    if (errno != EINTR) return 0;
  }
}

int64_t THandleStream::Seek(int64_t offset, TSeekOrigin origin) {
  int whence = origin == soCurrent ? SEEK_CUR : origin == soEnd ? SEEK_END : SEEK_SET;
  off_t r = ::lseek(FHandle, off_t(offset), whence);
  return r < 0 ? -1 : int64_t(r);
}

void THandleStream::SetSize(int64_t newSize) {
  // As the runtime does, the position ends at the new size.
  int err = 0;
  if (newSize < 0)
    err = EINVAL;
  else if (Seek(newSize, soBeginning) < 0 || ::ftruncate(FHandle, off_t(newSize)) != 0)
    err = errno;
  if (err)
    throw EStreamError(u"Cannot set the stream size to %d. %s",
                       {static_cast<long long>(newSize), SysErrorMessage(err)});
}

// --- TFileStream ---------------------------------------------------------------

TFileStream::TFileStream(const UnicodeString& fileName, uint16_t mode, uint32_t rights)
    : THandleStream(-1), FFileName(fileName) {
  std::string path = fileName.ToUtf8();
  bool create = (mode & fmCreate) == fmCreate;
  int flags = O_CLOEXEC;
  if (create) {
    flags |= O_RDWR | O_CREAT | ((mode & fmExclusive) ? O_EXCL : O_TRUNC);
  } else {
    switch (mode & 3) {
      case fmOpenWrite: flags |= O_WRONLY; break;
      case fmOpenReadWrite: flags |= O_RDWR; break;
      default: flags |= O_RDONLY; break;
    }
  }
  // A name with an embedded zero cannot reach the system intact.
  int err = 0;
  if (path.find('\0') != std::string::npos) {
    err = EINVAL;
  } else {
    do FHandle = ::open(path.c_str(), flags, mode_t(rights));
    while (FHandle < 0 && errno == EINTR);
    if (FHandle < 0) {
      err = errno;
    } else {
      // Directories open for reading on Linux but cannot be streamed.
      struct stat st;
      if (::fstat(FHandle, &st) == 0 && S_ISDIR(st.st_mode)) {
        ::close(FHandle);
        FHandle = -1;
        err = EISDIR;
      }
    }
  }
  if (err) {
    if (create) throw EFCreateError(u"Cannot create file \"%s\". %s", {ExpandedName(fileName), SysErrorMessage(err)});
    throw EFOpenError(u"Cannot open file \"%s\". %s", {ExpandedName(fileName), SysErrorMessage(err)});
  }
}

TFileStream::~TFileStream() {
  if (FHandle >= 0) ::close(FHandle);
}

// --- TCustomMemoryStream -------------------------------------------------------

int64_t TCustomMemoryStream::Read(void* buffer, int64_t count) {
  if (FPosition < 0 || count <= 0 || FPosition >= FSize) return 0;
  int64_t n = std::min(count, FSize - FPosition);
  std::memcpy(buffer, static_cast<const uint8_t*>(FMemory) + FPosition, size_t(n));
  FPosition += n;
  return n;
}

int64_t TCustomMemoryStream::Write(const void*, int64_t) {
  return 0;
}

int64_t TCustomMemoryStream::Seek(int64_t offset, TSeekOrigin origin) {
  int64_t base = origin == soCurrent ? FPosition : origin == soEnd ? FSize : 0;
  // Saturate rather than overflow on absurd offsets.
  if (offset > 0 && base > INT64_MAX - offset)
    FPosition = INT64_MAX;
  else if (offset < 0 && base < INT64_MIN - offset)
    FPosition = INT64_MIN;
  else
    FPosition = base + offset;
  return FPosition;
}

void TCustomMemoryStream::SaveToStream(TStream* stream) {
  if (FSize > 0) stream->WriteBuffer(FMemory, FSize);
}

void TCustomMemoryStream::SaveToFile(const UnicodeString& fileName) {
  TFileStream stream(fileName, fmCreate);
  SaveToStream(&stream);
}

// --- TMemoryStream -------------------------------------------------------------

TMemoryStream::~TMemoryStream() {
  std::free(FMemory);
  FMemory = nullptr;
}

void* TMemoryStream::Realloc(int64_t& newCapacity) {
  if (newCapacity > 0 && newCapacity != FSize) {
    if (newCapacity > INT64_MAX - MemoryDelta) throw EStreamError(UnicodeString(u"Out of memory while expanding memory stream"));
    newCapacity = (newCapacity + (MemoryDelta - 1)) & ~(MemoryDelta - 1);
  }
  if (newCapacity == FCapacity) return FMemory;
  if (newCapacity <= 0) {
    std::free(FMemory);
    newCapacity = 0;
    return nullptr;
  }
  if (uint64_t(newCapacity) > SIZE_MAX) throw EStreamError(UnicodeString(u"Out of memory while expanding memory stream"));
  void* p = std::realloc(FMemory, size_t(newCapacity));
  if (!p) throw EStreamError(UnicodeString(u"Out of memory while expanding memory stream"));
  return p;
}

void TMemoryStream::SetCapacity(int64_t newCapacity) {
  // Never below the contents: the size shrinks only through SetSize.
  if (newCapacity < FSize) newCapacity = FSize;
  int64_t cap = newCapacity;
  void* p = Realloc(cap);
  FMemory = p;
  FCapacity = cap;
}

int64_t TMemoryStream::Write(const void* buffer, int64_t count) {
  if (FPosition < 0 || count <= 0 || FPosition > INT64_MAX - count) return 0;
  int64_t end = FPosition + count;
  if (end > FSize) {
    if (end > FCapacity) SetCapacity(end);
    // A gap left by a position past the end reads as zeros.
    if (FPosition > FSize) std::memset(static_cast<uint8_t*>(FMemory) + FSize, 0, size_t(FPosition - FSize));
    FSize = end;
  }
  std::memcpy(static_cast<uint8_t*>(FMemory) + FPosition, buffer, size_t(count));
  FPosition = end;
  return count;
}

void TMemoryStream::SetSize(int64_t newSize) {
  if (newSize < 0) newSize = 0;
  int64_t oldSize = FSize;
  int64_t cap = newSize;
  FMemory = Realloc(cap);
  FCapacity = cap;
  FSize = newSize;
  if (newSize > oldSize) std::memset(static_cast<uint8_t*>(FMemory) + oldSize, 0, size_t(newSize - oldSize));
  if (FPosition > newSize) FPosition = newSize;
}

void TMemoryStream::Clear() {
  FSize = 0;
  FPosition = 0;
  SetCapacity(0);
}

void TMemoryStream::LoadFromStream(TStream* stream) {
  stream->SetPosition(0);
  int64_t count = stream->Size();
  SetSize(count);
  if (count > 0) stream->ReadBuffer(FMemory, count);
  FPosition = 0;
}

void TMemoryStream::LoadFromFile(const UnicodeString& fileName) {
  TFileStream stream(fileName, fmOpenRead | fmShareDenyWrite);
  LoadFromStream(&stream);
}

// --- TBytesStream ----------------------------------------------------------------

TBytesStream::TBytesStream(TBytes bytes) : FBytes(std::move(bytes)) {
  SetPointer(FBytes.data(), int64_t(FBytes.size()));
  FCapacity = int64_t(FBytes.size());
}

TBytesStream::~TBytesStream() {
  // The storage is FBytes: keep the base class from freeing it.
  FMemory = nullptr;
}

void* TBytesStream::Realloc(int64_t& newCapacity) {
  if (newCapacity > 0 && newCapacity != FSize) {
    if (newCapacity > INT64_MAX - MemoryDelta) throw EStreamError(UnicodeString(u"Out of memory while expanding memory stream"));
    newCapacity = (newCapacity + (MemoryDelta - 1)) & ~(MemoryDelta - 1);
  }
  if (newCapacity < 0) newCapacity = 0;
  if (newCapacity != int64_t(FBytes.size())) {
    try {
      FBytes.resize(size_t(newCapacity));
      if (newCapacity == 0) FBytes.shrink_to_fit();
    } catch (const std::exception&) {
      throw EStreamError(UnicodeString(u"Out of memory while expanding memory stream"));
    }
  }
  return FBytes.empty() ? nullptr : FBytes.data();
}

// --- TStringStream ---------------------------------------------------------------

TStringStream::TStringStream(const UnicodeString& s, uint32_t codePage)
    : TBytesStream(EncodeText(s.view(), codePage)), FCodePage(codePage) {}

TStringStream::TStringStream(TBytes bytes, uint32_t codePage)
    : TBytesStream(std::move(bytes)), FCodePage(codePage) {}

UnicodeString TStringStream::DataString() const {
  return DecodeText(static_cast<const uint8_t*>(FMemory), size_t(FSize), FCodePage);
}

UnicodeString TStringStream::ReadString(int64_t count) {
  if (FPosition < 0 || FPosition >= FSize || count <= 0) return {};
  int64_t n = std::min(count, FSize - FPosition);
  UnicodeString result = DecodeText(static_cast<const uint8_t*>(FMemory) + FPosition, size_t(n), FCodePage);
  FPosition += n;
  return result;
}

void TStringStream::WriteString(const UnicodeString& s) {
  TBytes bytes = EncodeText(s.view(), FCodePage);
  WriteBuffer(bytes.data(), int64_t(bytes.size()));
}

}  // namespace norvane
