// Evaluation speed of compiled script expressions: a host program compiles
// an expression once and evaluates it a million times, as a template or a
// rule engine does. The peer is Lua 5.4 doing the same from C: a chunk
// compiled once ("return <expr>") with the variables as globals, called with
// lua_pcall per evaluation. Both sides read the variables by name-resolved
// slot at run time and produce a fresh result each time.
//
// Prints ns per evaluation for each side and the ratio (ours / Lua; below
// 1 means faster). CPU time of this thread, best of 5 rounds.
#include <cstdio>
#include <ctime>
#include <string>

#include "norvane/runtime/variant.h"
#include "norvane/script/script_expression.h"
#include "norvane/script/script_magic.h"

#ifdef NORVANE_HAVE_LUA
extern "C" {
#include <lauxlib.h>
#include <lua.h>
#include <lualib.h>
}
#endif

using namespace norvane;

namespace {

constexpr int kRuns = 1000000;

double ThreadSeconds() {
  timespec ts;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ts);
  return double(ts.tv_sec) + double(ts.tv_nsec) * 1e-9;
}

template <class F>
double BestNsPerRun(F&& body) {
  double best = 1e30;
  for (int round = 0; round < 5; ++round) {
    const double t0 = ThreadSeconds();
    body();
    const double ns = (ThreadSeconds() - t0) * 1e9 / kRuns;
    if (ns < best) best = ns;
  }
  return best;
}

struct Case {
  const char* name;
  const char16_t* ours;
  const char* lua;
};

const Case kCases[] = {
    {"integer arithmetic", u"(a + b) * 2 - c div 3 + a mod 7", "return (a + b) * 2 - c // 3 + a % 7"},
    {"float arithmetic", u"x * 1.5 + y / 4 - x", "return x * 1.5 + y / 4 - x"},
    {"string concat", u"s + '-' + t + 'x'", "return s .. '-' .. t .. 'x'"},
    {"comparison and logic", u"(a > 3) and (b < 100) or (c = 5)", "return (a > 3) and (b < 100) or (c == 5)"},
};

}  // namespace

int main() {
  std::printf("%-22s %12s %12s %8s\n", "expression", "ours ns/eval", "Lua ns/eval", "ratio");
  for (const Case& c : kCases) {
    TScriptExpression e;
    e.Parse(UnicodeString(c.ours));
    e.SetVar(u"a", Variant(17));
    e.SetVar(u"b", Variant(25));
    e.SetVar(u"c", Variant(1000));
    e.SetVar(u"x", Variant(2.5));
    e.SetVar(u"y", Variant(10.0));
    e.SetVar(u"s", Variant(u"alpha"));
    e.SetVar(u"t", Variant(u"beta"));
    Variant r;
    e.Calc(r);
    const std::string ourValue = VarToStr(r).ToUtf8();
    size_t sink = 0;
    const double ours = BestNsPerRun([&] {
      for (int i = 0; i < kRuns; ++i) {
        e.Calc(r);
        sink += size_t(r.VarType());
      }
    });
    double peer = 0;
    std::string peerValue = "-";
#ifdef NORVANE_HAVE_LUA
    lua_State* L = luaL_newstate();
    luaL_openlibs(L);
    lua_pushinteger(L, 17);
    lua_setglobal(L, "a");
    lua_pushinteger(L, 25);
    lua_setglobal(L, "b");
    lua_pushinteger(L, 1000);
    lua_setglobal(L, "c");
    lua_pushnumber(L, 2.5);
    lua_setglobal(L, "x");
    lua_pushnumber(L, 10.0);
    lua_setglobal(L, "y");
    lua_pushstring(L, "alpha");
    lua_setglobal(L, "s");
    lua_pushstring(L, "beta");
    lua_setglobal(L, "t");
    if (luaL_loadstring(L, c.lua) != LUA_OK) {
      std::fprintf(stderr, "lua: %s\n", lua_tostring(L, -1));
      return 1;
    }
    lua_pushvalue(L, -1);
    lua_pcall(L, 0, 1, 0);
    peerValue = luaL_tolstring(L, -1, nullptr);
    lua_pop(L, 2);
    peer = BestNsPerRun([&] {
      for (int i = 0; i < kRuns; ++i) {
        lua_pushvalue(L, -1);
        lua_pcall(L, 0, 1, 0);
        sink += size_t(lua_type(L, -1));
        lua_pop(L, 1);
      }
    });
    lua_close(L);
#endif
    if (peer > 0)
      std::printf("%-22s %12.1f %12.1f %8.2f   (%s | %s)\n", c.name, ours, peer, ours / peer, ourValue.c_str(),
                  peerValue.c_str());
    else
      std::printf("%-22s %12.1f %12s %8s   (%s; Lua not installed)\n", c.name, ours, "-", "-", ourValue.c_str());
    if (sink == 0) std::puts("");
  }
  return 0;
}
