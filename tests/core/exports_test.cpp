// The exported names: every name of tools/exports.txt resolves in the built
// library, nothing else is exported, and the variant needs no C++ runtime.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <set>
#include <string>

namespace {

std::set<std::string> ReadList(const std::string& path) {
  std::set<std::string> names;
  std::ifstream in(path);
  std::string line;
  while (std::getline(in, line)) {
    if (!line.empty() && line[0] != '#') names.insert(line);
  }
  return names;
}

std::string Shell(const std::string& cmd) {
  std::string out;
  FILE* p = popen(cmd.c_str(), "r");
  if (!p) return out;
  char buf[4096];
  size_t n;
  while ((n = fread(buf, 1, sizeof buf, p)) > 0) out.append(buf, n);
  pclose(p);
  return out;
}

// Defined dynamic symbols of a shared object, version nodes left out.
std::set<std::string> DefinedDynamic(const std::string& so) {
  std::set<std::string> names;
  std::string out = Shell("nm -D --defined-only '" + so + "'");
  size_t pos = 0;
  while (pos < out.size()) {
    size_t end = out.find('\n', pos);
    std::string line = out.substr(pos, end - pos);
    pos = end == std::string::npos ? out.size() : end + 1;
    // "<address> <type> <name>[@@VERSION]"
    size_t sp = line.rfind(' ');
    if (sp == std::string::npos || sp < 2) continue;
    char type = line[sp - 1];
    if (type == 'A') continue;  // version node
    std::string name = line.substr(sp + 1);
    size_t at = name.find('@');
    if (at != std::string::npos) name.resize(at);
    names.insert(name);
  }
  return names;
}

void ExpectExactExports(const std::string& so, const std::string& list) {
  const std::set<std::string> want = ReadList(list);
  ASSERT_FALSE(want.empty()) << list;
  void* h = dlopen(so.c_str(), RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(h, nullptr) << dlerror();
  for (const std::string& n : want) EXPECT_NE(dlsym(h, n.c_str()), nullptr) << n;
  dlclose(h);
  const std::set<std::string> have = DefinedDynamic(so);
  for (const std::string& n : have) EXPECT_TRUE(want.count(n)) << "exported but not listed: " << n;
  for (const std::string& n : want) EXPECT_TRUE(have.count(n)) << "listed but not exported: " << n;
}

TEST(Exports, VariantExportsExactlyItsList) {
  ExpectExactExports(NYX_VARIANT_SO, std::string(NYX_SOURCE_DIR) + "/tools/exports.txt");
}

TEST(Exports, CoreExportsExactlyItsList) {
  ExpectExactExports(NYX_CORE_SO, std::string(NYX_SOURCE_DIR) + "/tools/core-exports.txt");
}

TEST(Exports, ListIsSortedAndUnique) {
  std::ifstream in(std::string(NYX_SOURCE_DIR) + "/tools/exports.txt");
  std::string prev, line;
  while (std::getline(in, line)) {
    EXPECT_LT(prev, line) << "not sorted or repeated near " << line;
    prev = line;
  }
}

TEST(Exports, StubsJumpToTheirImplementation) {
  // Every export is a single jmp to d1_<name>.
  std::string out = Shell("objdump -d --no-show-raw-insn '" + std::string(NYX_VARIANT_SO) +
                        "' | grep -A1 -E '^[0-9a-f]+ <nyxi(Add_8u_C1RSfs|GetLibVersion)>:'");
  EXPECT_NE(out.find("jmp"), std::string::npos) << out;
  EXPECT_NE(out.find("<d1_nyxiAdd_8u_C1RSfs>"), std::string::npos) << out;
  EXPECT_NE(out.find("<d1_nyxiGetLibVersion>"), std::string::npos) << out;
}

TEST(Exports, VariantNeedsOnlyTheCLibraryAndCore) {
#ifdef NYX_SANITIZE
  GTEST_SKIP() << "sanitizer builds link the sanitizer runtimes";
#endif
  std::string out = Shell("readelf -d '" + std::string(NYX_VARIANT_SO) + "' | grep NEEDED");
  ASSERT_FALSE(out.empty());
  size_t pos = 0;
  while ((pos = out.find('[', pos)) != std::string::npos) {
    size_t end = out.find(']', pos);
    std::string lib = out.substr(pos + 1, end - pos - 1);
    EXPECT_TRUE(lib == "libc.so.6" || lib == "libm.so.6" || lib == "libnyxcore.so.12") << lib;
    pos = end;
  }
  std::string soname = Shell("readelf -d '" + std::string(NYX_VARIANT_SO) + "' | grep SONAME");
  EXPECT_NE(soname.find("[libnyxid1.so.12]"), std::string::npos) << soname;
}

}  // namespace
