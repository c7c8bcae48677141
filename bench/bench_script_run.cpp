// Speed of whole scripts: recursion, counting loops, string building and
// array work, each parsed and compiled once and then run repeatedly, as a
// host that keeps a loaded script does. The peer is Lua 5.4 running the
// same program (compiled once, called per run) when it is installed.
//
// Prints ms per run for each side and the ratio (ours / Lua; below 1 means
// faster). CPU time of this thread, best of 5 runs.
#include <cstdio>
#include <ctime>
#include <string>

#include "norvane/script/script_magic.h"
#include "norvane/script/script_parser.h"

#ifdef NORVANE_HAVE_LUA
extern "C" {
#include <lauxlib.h>
#include <lua.h>
#include <lualib.h>
}
#endif

using namespace norvane;

namespace {

double ThreadSeconds() {
  timespec ts;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ts);
  return double(ts.tv_sec) + double(ts.tv_nsec) * 1e-9;
}

template <class F>
double BestMs(F&& run) {
  double best = 1e30;
  for (int round = 0; round < 5; ++round) {
    const double t0 = ThreadSeconds();
    run();
    const double ms = (ThreadSeconds() - t0) * 1e3;
    if (ms < best) best = ms;
  }
  return best;
}

struct Case {
  const char* name;
  const char* ours;  // leaves its answer in the global `r`
  const char* lua;   // returns its answer
};

const Case kCases[] = {
    {"recursive fib(24)",
     "function fib(n: integer): integer; begin if n < 2 then result := n "
     "else result := fib(n - 1) + fib(n - 2); end; r := fib(24);",
     "local function fib(n) if n < 2 then return n end return fib(n - 1) + fib(n - 2) end return fib(24)"},
    {"loop sum 1e6",
     "s := 0; for i := 1 to 1000000 do s := s + i; r := s;",
     "local s = 0 for i = 1, 1000000 do s = s + i end return s"},
    {"branchy loop 3e5",
     "n := 0; for i := 1 to 300000 do if i mod 3 = 0 then n := n + 2 else if i mod 5 = 0 then n := n - 1; r := n;",
     "local n = 0 for i = 1, 300000 do if i % 3 == 0 then n = n + 2 elseif i % 5 == 0 then n = n - 1 end end "
     "return n"},
    {"string append 2e4",
     "s := ''; for i := 1 to 20000 do s := s + 'x'; r := Length(s);",
     "local t = '' for i = 1, 20000 do t = t .. 'x' end return #t"},
    {"while + calls 2e5",
     "function step(x: integer): integer; begin result := x + 1; end; "
     "i := 0; while i < 200000 do i := step(i); r := i;",
     "local function step(x) return x + 1 end local i = 0 while i < 200000 do i = step(i) end return i"},
};

}  // namespace

int main() {
  SetScriptOutput([](const UnicodeString&) {});
  std::printf("%-20s %12s %12s %8s\n", "script", "ours ms/run", "Lua ms/run", "ratio");
  for (const Case& c : kCases) {
    THtScriptParser parser(UnicodeString::FromUtf8(c.ours));
    parser.Parse();
    parser.Compile();
    const double ours = BestMs([&] { parser.Run(); });
    const std::string ourValue = parser.GetVar(u"r").AsString().ToUtf8();
#ifdef NORVANE_HAVE_LUA
    lua_State* L = luaL_newstate();
    luaL_openlibs(L);
    if (luaL_loadstring(L, c.lua) != LUA_OK) {
      std::fprintf(stderr, "lua: %s\n", lua_tostring(L, -1));
      return 1;
    }
    std::string peerValue;
    const double peer = BestMs([&] {
      lua_pushvalue(L, -1);
      lua_pcall(L, 0, 1, 0);
      peerValue = lua_tostring(L, -1) ? lua_tostring(L, -1) : "?";
      lua_pop(L, 1);
    });
    lua_close(L);
    std::printf("%-20s %12.2f %12.2f %8.2f   (%s | %s)\n", c.name, ours, peer, ours / peer, ourValue.c_str(),
                peerValue.c_str());
#else
    std::printf("%-20s %12.2f %12s %8s   (%s; Lua not installed)\n", c.name, ours, "-", "-", ourValue.c_str());
#endif
  }
  SetScriptOutput(nullptr);
  return 0;
}
