// Byte streams of the runtime: the abstract TStream, streams over file
// descriptors and files, memory streams, byte-array and string streams.
//
// Positions and counts are 64-bit. Reading past the end returns fewer
// bytes; ReadBuffer/WriteBuffer turn a short transfer into EReadError
// "Stream read error" / EWriteError "Stream write error".
//
// Seeking before the start: memory streams keep the position as given, as
// the runtime does, and a negative position then reads and writes nothing
// (so ReadBuffer/WriteBuffer raise). Handle and file streams ask the system,
// which refuses; Seek then returns -1 and the position stays where it was.
#pragma once

#include <cstdint>
#include <type_traits>

#include "norvane/runtime/object.h"
#include "norvane/runtime/types.h"
#include "norvane/runtime/unicode_string.h"

namespace norvane {

NV_ENUM(TSeekOrigin, soBeginning, soCurrent, soEnd)

// File open modes: one access mode, optionally or-ed with a share mode.
// Share modes are accepted and have no effect on Linux.
constexpr uint16_t fmCreate = 0xFF00;
constexpr uint16_t fmOpenRead = 0x0000;
constexpr uint16_t fmOpenWrite = 0x0001;
constexpr uint16_t fmOpenReadWrite = 0x0002;
constexpr uint16_t fmExclusive = 0x0004;  // with fmCreate: fail if the file exists
constexpr uint16_t fmShareCompat = 0x0000;
constexpr uint16_t fmShareExclusive = 0x0010;
constexpr uint16_t fmShareDenyWrite = 0x0020;
constexpr uint16_t fmShareDenyRead = 0x0030;
constexpr uint16_t fmShareDenyNone = 0x0040;

class TStream : public TObject {
  NV_CLASS(TStream, TObject)
 public:
  // Transfers up to `count` bytes; returns how many moved (0 at the end).
  virtual int64_t Read(void* buffer, int64_t count) = 0;
  virtual int64_t Write(const void* buffer, int64_t count) = 0;
  // Returns the new position.
  virtual int64_t Seek(int64_t offset, TSeekOrigin origin) = 0;

  int64_t Position() { return Seek(0, soCurrent); }
  void SetPosition(int64_t pos) { Seek(pos, soBeginning); }
  virtual int64_t Size();
  // The base class cannot resize and does nothing.
  virtual void SetSize(int64_t newSize);

  void ReadBuffer(void* buffer, int64_t count);
  void WriteBuffer(const void* buffer, int64_t count);
  // Copies `count` bytes from the current position of `source`; count 0 (or
  // less) copies the whole source from its start. Returns the bytes copied.
  int64_t CopyFrom(TStream* source, int64_t count, int64_t bufferSize = 0);
  // Moves the position by `count` bytes; returns the bytes actually skipped.
  int64_t Skip(int64_t count);

  // Raw values of trivially copyable types, in memory order.
  template <class T>
  void ReadData(T& value) {
    static_assert(std::is_trivially_copyable_v<T>);
    ReadBuffer(&value, int64_t(sizeof(T)));
  }
  template <class T>
  T ReadData() {
    T value{};
    ReadData(value);
    return value;
  }
  template <class T>
  void WriteData(const T& value) {
    static_assert(std::is_trivially_copyable_v<T>);
    WriteBuffer(&value, int64_t(sizeof(T)));
  }

  // All bytes from the current position to the end.
  TBytes ReadRemaining();
};

// A stream over an open POSIX file descriptor, which it does not close.
class THandleStream : public TStream {
  NV_CLASS(THandleStream, TStream)
 public:
  explicit THandleStream(int handle) : FHandle(handle) {}

  int64_t Read(void* buffer, int64_t count) override;
  int64_t Write(const void* buffer, int64_t count) override;
  int64_t Seek(int64_t offset, TSeekOrigin origin) override;
  // Truncates or extends the file; raises EStreamError on failure.
  void SetSize(int64_t newSize) override;
  int Handle() const noexcept { return FHandle; }

 protected:
  int FHandle;
};

// A file opened by name; closes it on destruction. fmCreate creates or
// empties the file (read and write access). Failures raise EFCreateError
// "Cannot create file \"%s\". %s" or EFOpenError "Cannot open file \"%s\". %s"
// with the full path and the system's reason.
class TFileStream : public THandleStream {
  NV_CLASS(TFileStream, THandleStream)
 public:
  TFileStream(const UnicodeString& fileName, uint16_t mode, uint32_t rights = 0666);
  ~TFileStream() override;
  const UnicodeString& FileName() const noexcept { return FFileName; }

 private:
  UnicodeString FFileName;
};

// A stream over a block of memory it does not manage itself.
class TCustomMemoryStream : public TStream {
  NV_CLASS(TCustomMemoryStream, TStream)
 public:
  int64_t Read(void* buffer, int64_t count) override;
  // Writes nothing: the block has a fixed size here.
  int64_t Write(const void* buffer, int64_t count) override;
  int64_t Seek(int64_t offset, TSeekOrigin origin) override;
  int64_t Size() override { return FSize; }
  void SaveToStream(TStream* stream);
  void SaveToFile(const UnicodeString& fileName);
  void* Memory() const noexcept { return FMemory; }

 protected:
  void SetPointer(void* ptr, int64_t size) noexcept {
    FMemory = ptr;
    FSize = size;
  }
  void* FMemory = nullptr;
  int64_t FSize = 0;
  int64_t FPosition = 0;
};

// A growable memory stream. Capacity grows in blocks of 8 KiB; bytes that
// appear between the old end and a later position or size read as zero.
class TMemoryStream : public TCustomMemoryStream {
  NV_CLASS(TMemoryStream, TCustomMemoryStream)
 public:
  TMemoryStream() = default;
  ~TMemoryStream() override;

  int64_t Write(const void* buffer, int64_t count) override;
  void SetSize(int64_t newSize) override;
  void Clear();
  // Replaces the contents with the whole of `stream` (from its start).
  void LoadFromStream(TStream* stream);
  void LoadFromFile(const UnicodeString& fileName);
  int64_t Capacity() const noexcept { return FCapacity; }
  void SetCapacity(int64_t newCapacity);

  static constexpr int64_t MemoryDelta = 0x2000;

 protected:
  // Returns a block of at least `newCapacity` bytes holding the current
  // contents, adjusting `newCapacity` to what it allocated; 0 frees.
  // Raises EStreamError "Out of memory while expanding memory stream".
  virtual void* Realloc(int64_t& newCapacity);
  int64_t FCapacity = 0;
};

// A memory stream whose storage is a TBytes. Bytes() is the whole storage,
// which can be longer than Size() (it grows by the same 8 KiB blocks).
class TBytesStream : public TMemoryStream {
  NV_CLASS(TBytesStream, TMemoryStream)
 public:
  TBytesStream() = default;
  explicit TBytesStream(TBytes bytes);
  ~TBytesStream() override;
  const TBytes& Bytes() const noexcept { return FBytes; }

 protected:
  void* Realloc(int64_t& newCapacity) override;

 private:
  TBytes FBytes;
};

// A stream of encoded text; UTF-8 unless another code page is given (1200
// and 1201 are UTF-16 LE/BE, others go through the system's converters).
class TStringStream : public TBytesStream {
  NV_CLASS(TStringStream, TBytesStream)
 public:
  TStringStream() = default;
  explicit TStringStream(const UnicodeString& s, uint32_t codePage = 65001);
  explicit TStringStream(TBytes bytes, uint32_t codePage = 65001);

  // The whole contents decoded.
  UnicodeString DataString() const;
  // Decodes up to `count` bytes from the current position.
  UnicodeString ReadString(int64_t count);
  void WriteString(const UnicodeString& s);
  uint32_t CodePage() const noexcept { return FCodePage; }

 private:
  uint32_t FCodePage = 65001;
};

// Encoding helpers shared by the string lists and string streams.
TBytes EncodeText(std::u16string_view s, uint32_t codePage);
UnicodeString DecodeText(const uint8_t* data, size_t size, uint32_t codePage);
bool IsValidUtf8(const uint8_t* data, size_t size) noexcept;

}  // namespace norvane
