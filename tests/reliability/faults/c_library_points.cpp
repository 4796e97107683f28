// The functions of the C library that the service reaches. Those that only compute are named with the reason why they
// cannot fail; formatted output is linked in and writes through fwrite and fputc.
#include <cerrno>
#include <cstdio>
#include <cwchar>

#include "tests/reliability/faults/fault_point.h"

namespace qvtest {

namespace {

constexpr auto kNoPurpose = [](auto...) { return std::string(); };

}  // namespace

#define QV_C(Name) PointKind::CLibrary, #Name, static_cast<decltype(&::Name)>(nullptr)

std::vector<Point> CLibraryPoints() {
  std::vector<Point> points = {
      MakePoint(
          QV_C(_wfopen), "access denied",
          [](const wchar_t*, const wchar_t*) -> FILE* {
            errno = EACCES;
            return nullptr;
          },
          [](const wchar_t*, const wchar_t* mode) { return std::string(mode[0] == L'w' ? "anew" : "to append"); }),
      BuildDependent(MakePoint(
          QV_C(fwrite), "disk full",
          [](const void*, size_t, size_t, FILE*) -> size_t {
            errno = ENOSPC;
            return 0;
          },
          kNoPurpose)),
      BuildDependent(MakePoint(
          QV_C(fputs), "disk full",
          [](const char*, FILE*) -> int {
            errno = ENOSPC;
            return EOF;
          },
          kNoPurpose)),
      MakePoint(
          QV_C(fputc), "disk full",
          [](int, FILE*) -> int {
            errno = ENOSPC;
            return EOF;
          },
          kNoPurpose),
      MakePoint(
          QV_C(fflush), "disk full",
          [](FILE*) -> int {
            errno = ENOSPC;
            return EOF;
          },
          kNoPurpose),
      MakePoint(
          QV_C(fclose), "done, but EOF is answered",
          [](FILE* file) -> int {
            fclose(file);
            errno = ENOSPC;
            return EOF;
          },
          kNoPurpose),
      MakePoint(
          QV_C(_wcsupr), "null", [](wchar_t*) -> wchar_t* { return nullptr; }, kNoPurpose),
  };
  for (const char* name : {"_wtoi", "_itow", "wcslen", "strlen", "strcmp", "memcpy", "memmove", "memset", "memcmp"}) {
    Point point;
    point.call = name;
    point.kind = PointKind::CLibrary;
    point.steady = "computes on memory that its caller owns";
    point.buildDependent = true;
    points.push_back(point);
  }
  return points;
}

#undef QV_C

}  // namespace qvtest
