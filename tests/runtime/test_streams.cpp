#include <gtest/gtest.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <string>

#include "norvane/runtime/exception.h"
#include "norvane/runtime/streams.h"

using namespace norvane;
namespace fs = std::filesystem;

namespace {

std::string Contents(TCustomMemoryStream& s) {
  return std::string(static_cast<const char*>(s.Memory()), size_t(s.Size()));
}

// A fresh directory per test, removed afterwards.
struct TempDir {
  fs::path path;
  TempDir() {
    path = fs::temp_directory_path() /
           ("nv_streams_" + std::to_string(getpid()) + "_" +
            ::testing::UnitTest::GetInstance()->current_test_info()->name());
    fs::remove_all(path);
    fs::create_directories(path);
  }
  ~TempDir() { fs::remove_all(path); }
  UnicodeString File(const char* name) const { return UnicodeString::FromUtf8((path / name).string()); }
};

template <class E, class F>
std::string ErrorOf(F&& f) {
  try {
    f();
  } catch (const E& e) {
    return e.what();
  }
  return "(no error)";
}

}  // namespace

TEST(MemoryStream, ReadWriteSeekAndGrowth) {
  TMemoryStream m;
  EXPECT_EQ(m.Write("hello", 5), 5);
  EXPECT_EQ(m.Capacity(), 0x2000) << "capacity rounds up to 8 KiB blocks";
  EXPECT_EQ(m.Seek(-2, soEnd), 3);

  char buf[8] = {};
  EXPECT_EQ(m.Read(buf, 8), 2) << "reading past the end returns what is left";
  EXPECT_EQ(std::string(buf, 2), "lo");
  EXPECT_EQ(m.Read(buf, 8), 0);

  // A position past the end, then a write: the gap reads as zeros.
  m.SetPosition(8);
  m.WriteBuffer("!", 1);
  EXPECT_EQ(m.Size(), 9);
  EXPECT_EQ(Contents(m), std::string("hello\0\0\0!", 9));

  m.SetPosition(0x2000 - 1);
  m.WriteBuffer("ab", 2);
  EXPECT_EQ(m.Capacity(), 0x4000);
  EXPECT_EQ(m.Size(), 0x2001);

  // Shrinking moves a later position back to the end; growing zero-fills.
  m.SetSize(4);
  EXPECT_EQ(m.Position(), 4);
  m.SetSize(6);
  EXPECT_EQ(Contents(m), std::string("hell\0\0", 6));

  // A negative position is kept, as the runtime does, and moves no bytes.
  EXPECT_EQ(m.Seek(-10, soBeginning), -10);
  EXPECT_EQ(m.Read(buf, 1), 0);
  EXPECT_EQ(m.Write("x", 1), 0);
  EXPECT_EQ(ErrorOf<EWriteError>([&] { m.WriteBuffer("x", 1); }), "Stream write error");
  m.SetPosition(5);
  EXPECT_EQ(ErrorOf<EReadError>([&] { m.ReadBuffer(buf, 2); }), "Stream read error");

  m.Clear();
  EXPECT_EQ(m.Size(), 0);
  EXPECT_EQ(m.Capacity(), 0);
  EXPECT_EQ(m.Memory(), nullptr);
}

TEST(MemoryStream, TypedDataAndCopyFrom) {
  TMemoryStream a;
  a.WriteData<int32_t>(-7);
  a.WriteData(2.5);
  a.WriteData<uint8_t>(0xAB);
  a.SetPosition(0);
  EXPECT_EQ(a.ReadData<int32_t>(), -7);
  EXPECT_EQ(a.ReadData<double>(), 2.5);
  EXPECT_EQ(a.ReadData<uint8_t>(), 0xAB);
  EXPECT_THROW(a.ReadData<uint8_t>(), EReadError);

  TMemoryStream src;
  std::string payload(100000, 'x');
  for (size_t i = 0; i < payload.size(); ++i) payload[i] = char('a' + i % 26);
  src.WriteBuffer(payload.data(), int64_t(payload.size()));

  struct Case {
    const char* name;
    int64_t start, count, copied;
    std::string expected;
  };
  const Case cases[] = {
      {"count 0 copies all from the start", 500, 0, 100000, payload},
      {"count from the position", 26, 3, 3, "abc"},
      {"across buffer chunks", 1, 70000, 70000, payload.substr(1, 70000)},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    TMemoryStream dst;
    src.SetPosition(c.start);
    EXPECT_EQ(dst.CopyFrom(&src, c.count), c.copied);
    EXPECT_EQ(Contents(dst), c.expected);
  }
  TMemoryStream dst;
  src.SetPosition(99999);
  EXPECT_THROW(dst.CopyFrom(&src, 2), EReadError) << "the source is too short";

  TCustomMemoryStream fixed;
  EXPECT_EQ(ErrorOf<EWriteError>([&] { fixed.WriteBuffer("x", 1); }), "Stream write error");
}

TEST(BytesAndStringStreams, StorageAndEncodings) {
  TBytesStream b(TBytes{1, 2, 3});
  EXPECT_EQ(b.Size(), 3);
  EXPECT_EQ(b.ReadData<uint8_t>(), 1);
  b.Seek(0, soEnd);
  b.WriteData<uint8_t>(4);
  EXPECT_EQ(b.Size(), 4);
  // The storage grows in blocks, so Bytes() can be longer than Size().
  ASSERT_EQ(b.Bytes().size(), 0x2000u);
  EXPECT_EQ(b.Bytes()[3], 4);
  EXPECT_EQ(std::memcmp(b.Memory(), b.Bytes().data(), 4), 0);

  TStringStream s(u"h\u00E9llo \u20AC");
  EXPECT_EQ(s.Size(), 10) << "UTF-8 by default";
  EXPECT_EQ(s.ReadString(3), u"h\u00E9");
  EXPECT_EQ(s.ReadString(100), u"llo \u20AC");
  EXPECT_EQ(s.ReadString(1), u"");
  s.WriteString(u"!");
  EXPECT_EQ(s.DataString(), u"h\u00E9llo \u20AC!");
  s.SetPosition(0);
  s.WriteString(u"J");
  EXPECT_EQ(s.DataString(), u"J\u00E9llo \u20AC!") << "writing overwrites in place";

  TStringStream w(u"ab", 1201);
  EXPECT_EQ(w.Size(), 4);
  EXPECT_EQ(static_cast<const uint8_t*>(w.Memory())[1], 'a');
  EXPECT_EQ(w.DataString(), u"ab");

  // Bytes that are not UTF-8 still decode without loss of the rest.
  TStringStream bad(TBytes{'a', 0xFF, 'b'});
  EXPECT_EQ(bad.DataString(), u"a\uFFFDb");
}

TEST(FileStream, ReadWriteAndSize) {
  TempDir dir;
  UnicodeString name = dir.File("data.bin");
  {
    TFileStream f(name, fmCreate | fmShareDenyWrite);
    f.WriteBuffer("0123456789", 10);
    EXPECT_EQ(f.Size(), 10);
    f.SetSize(4);
    EXPECT_EQ(f.Position(), 4);
    f.WriteBuffer("AB", 2);
  }
  {
    TFileStream f(name, fmOpenReadWrite);
    EXPECT_EQ(f.FileName(), name);
    char buf[16] = {};
    EXPECT_EQ(f.Read(buf, 16), 6);
    EXPECT_EQ(std::string(buf, 6), "0123AB");
    EXPECT_EQ(f.Seek(-1, soBeginning), -1) << "the system refuses a negative position";
    EXPECT_EQ(f.Position(), 6);
    f.Seek(1, soBeginning);
    f.WriteBuffer("z", 1);
  }
  TMemoryStream m;
  m.LoadFromFile(name);
  EXPECT_EQ(Contents(m), "0z23AB");
  m.SaveToFile(dir.File("copy.bin"));
  TFileStream copy(dir.File("copy.bin"), fmOpenRead);
  EXPECT_EQ(copy.Size(), 6);
  EXPECT_THROW(copy.WriteBuffer("x", 1), EWriteError) << "opened for reading only";

  int fds[2];
  ASSERT_EQ(pipe(fds), 0);
  ASSERT_EQ(write(fds[1], "abc", 3), 3);
  close(fds[1]);
  THandleStream p(fds[0]);
  char buf[8];
  EXPECT_EQ(p.Read(buf, 8), 3);
  EXPECT_EQ(p.Read(buf, 8), 0);
  close(fds[0]);
}

TEST(FileStream, ErrorsNameTheFullPathAndReason) {
  TempDir dir;
  std::string base = dir.path.string();
  {
    TFileStream f(dir.File("exists"), fmCreate);
  }
  struct Case {
    const char* name;
    UnicodeString file;
    uint16_t mode;
    std::string message;
  };
  const Case cases[] = {
      {"missing file", dir.File("nope"), fmOpenRead,
       "Cannot open file \"" + base + "/nope\". No such file or directory"},
      {"missing folder", dir.File("no/such"), fmCreate,
       "Cannot create file \"" + base + "/no/such\". No such file or directory"},
      {"directory", dir.File(""), fmOpenRead, "Cannot open file \"" + base + "/\". Is a directory"},
      {"exclusive create", dir.File("exists"), fmCreate | fmExclusive,
       "Cannot create file \"" + base + "/exists\". File exists"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    std::string message = ErrorOf<EStreamError>([&] { TFileStream f(c.file, c.mode); });
    EXPECT_EQ(message, c.message);
  }
  EXPECT_THROW(TFileStream(dir.File("nope"), fmOpenRead), EFOpenError);
  EXPECT_THROW(TFileStream(dir.File("no/such"), fmCreate), EFCreateError);

  // Relative names are reported expanded.
  std::string message = ErrorOf<EFOpenError>([] { TFileStream f(u"./nv_missing/../nv_missing_file", fmOpenRead); });
  EXPECT_EQ(message, "Cannot open file \"" + (fs::current_path() / "nv_missing_file").string() +
                         "\". No such file or directory");
}
