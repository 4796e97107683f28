// The functions of the C library that the service reaches. Those that only compute are named with the reason why they
// cannot fail; formatted output is linked in and writes through fwrite and fputc.
#include <cstdio>
#include <cwchar>

#include "tests/reliability/faults/fault_point.h"

namespace qvtest {

#define QV_C(Name) PointKind::CLibrary, 0, #Name, static_cast<decltype(&::Name)>(nullptr)

std::vector<Point> CLibraryPoints() {
  constexpr auto kMode = [](const wchar_t*, const wchar_t* mode) {
    return std::string(mode[0] == L'w' ? "anew" : "to append");
  };
  std::vector<Point> points = {
      MakePoint(QV_C(_wfopen), "access denied", RefuseWithErrno<EACCES, nullptr>{}, kMode),
      BuildDependent(MakePoint(QV_C(fwrite), "disk full", RefuseWithErrno<ENOSPC, size_t{0}>{})),
      BuildDependent(MakePoint(QV_C(fputs), "disk full", RefuseWithErrno<ENOSPC, EOF>{})),
      MakePoint(QV_C(fputc), "disk full", RefuseWithErrno<ENOSPC, EOF>{}),
      MakePoint(QV_C(fflush), "disk full", RefuseWithErrno<ENOSPC, EOF>{}),
      MakePoint(QV_C(fclose), "done, but EOF is answered",
                [](FILE* file) {
                  fclose(file);
                  return RefuseWithErrno<ENOSPC, EOF>{}();
                }),
      MakePoint(QV_C(_wcsupr), "null", Answer<nullptr>{}),
  };
  for (const char* name : {"_wtoi", "_itow", "wcslen", "strlen", "strcmp", "memcpy", "memmove", "memset", "memcmp"}) {
    points.push_back({.call = name,
                      .steady = "computes on memory that its caller owns",
                      .buildDependent = true,
                      .kind = PointKind::CLibrary});
  }
  return points;
}

#undef QV_C

}  // namespace qvtest
