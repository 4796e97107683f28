// Every call outside the service has a row in the matrix or a reason that can be checked: the names come from the
// import table of the built qvjvm.dll, from its objects and from its sources.
#include <algorithm>

#include "tests/binary/pe_file.h"
#include "tests/fakejvm/fake_jvm_user.h"
#include "tests/reliability/faults/fault_point.h"
#include "tests/reliability/faults/outside_calls.h"
#include "tests/support/reliability.h"

namespace qvtest {
namespace {

using Names = std::set<std::string>;

// What the compiler or its library brings into the module itself. None of it fails in a way that an operation could
// see.
struct LinkedIn {
  const char* name;  // or its beginning, with a star
  const char* why;
};
constexpr LinkedIn kLinkedIn[] = {
    {"__mingw_vfprintf", "writes through `fwrite` and `fputc`"},
    {"__mingw_vsn*", "bounded, into the service's own buffer"},
    {"strnlen", "computes on memory that its caller owns"},
    {"wmem*", "computes on memory that its caller owns"},
    {"atexit", "at load alone; without it a static object stays"},
    {"__gxx_personality_seh0", "for exceptions, of which the service throws none"},
    {"_Unwind_Resume", "for exceptions, of which the service throws none"},
    {"__cxa_*", "for exceptions and pure operations, of which none is called"},
    {"_ZSt24__throw_out_of_range_fmt*", "of a part of a text, which never begins behind its end"},
    {"_ZSt9terminatev", "for exceptions, of which the service throws none"},
    {"_ZSt24__throw_out_of_range_fmt*", "for exceptions: a check that an unoptimised build keeps, and none fails"},
    {"_ZTVN10__cxxabiv1*", "data: type information"},
    {"___chkstk_ms", "makes room on the stack"},
    {"__stack_chk_*", "guards the stack"},
    {"__gcov_*", "counts what the tests reach"},
};

bool IsLinkedIn(const std::string& name) {
  return std::any_of(std::begin(kLinkedIn), std::end(kLinkedIn), [&](const LinkedIn& row) {
    const std::string_view pattern = row.name;
    return pattern.ends_with('*') ? name.starts_with(pattern.substr(0, pattern.size() - 1)) : name == pattern;
  });
}

class OutsideCallsTest : public testing::Test {
 protected:
  OutsideCallsTest() {
    for (const Point& point : AllPoints(m_jvm)) m_rows.emplace(point.call, point);
    for (const char* kind : {"found", "object"}) m_found.merge(OutsideCalls(kind));
    for (const std::string& name : OutsideCalls("vm")) m_found.insert("JavaVM::" + name);
  }
  [[nodiscard]] bool HasRow(const std::string& name) const {
    return m_rows.contains(name) || kCallsOfTheBridge.contains(name);
  }

  FakeJvm m_jvm;
  std::multimap<std::string, Point> m_rows;
  PeFile m_service = ReadPeFile(ProgramFolder() + L"\\..\\qvjvm.dll");
  Names m_symbols = OutsideCalls("symbol");
  Names m_found;  // by name, in objects' tables and in the Java VM's
};

TEST_F(OutsideCallsTest, WhatTheServicesObjectsNeedHasARow) {
  for (const std::string& name : m_symbols) EXPECT_TRUE(HasRow(name) || IsLinkedIn(name)) << "no row for " << name;
}

TEST_F(OutsideCallsTest, WhatTheModuleImportsHasARowOrIsTheRuntimesOwn) {
  for (const auto& [dll, imports] : m_service.imports) {
    std::string runtimes;
    int number = 0;
    for (const std::string& name : imports.names) {
      const bool ofTheService = m_symbols.contains(name);
      EXPECT_TRUE(!ofTheService || HasRow(name)) << "no row for " << name << " of " << dll;
      if (ofTheService || m_rows.contains(name)) continue;
      runtimes += (runtimes.empty() ? "`" : ", `") + name + "`";
      ++number;
    }
    if (number == 0) continue;
    RecordRow("faults-runtime", dll, {dll, number, runtimes});
  }
}

TEST_F(OutsideCallsTest, EveryOrdinalOfTheHostLibraryHasARow) {
  std::set<uint16_t> rows;
  for (const auto& [name, point] : m_rows) {
    if (point.kind == PointKind::HostLibrary) rows.insert(point.ordinal);
  }
  EXPECT_EQ(rows, m_service.imports.at("qvshr.dll").ordinals);
}

TEST_F(OutsideCallsTest, WhatIsFoundByNameOrInATableHasARow) {
  for (const std::string& name : m_found) EXPECT_TRUE(m_rows.contains(name)) << "no row for " << name;
}

TEST_F(OutsideCallsTest, NoRowStandsForWhatIsNotThere) {
  Names known = m_symbols;
  known.insert(m_found.begin(), m_found.end());
  for (const auto& [dll, imports] : m_service.imports) known.insert(imports.names.begin(), imports.names.end());
  for (const auto& [name, point] : m_rows) {
    EXPECT_TRUE(known.contains(name) || point.buildDependent) << name << " is called by nobody";
  }
}

}  // namespace
}  // namespace qvtest
