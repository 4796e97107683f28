// The registry lists and values of the configuration: hostile counts, missing entries, values that are no proper texts.
// The machines of a known host are read from "Java\QVIDEConfig" and have no defaults to fall back to; those of an
// unknown one from "Java\QVRTConfig".
#include <gtest/gtest.h>

#include "tests/reliability/machines/machine.h"

namespace qvtest {
namespace {

constexpr wchar_t kOptions[] = L"QVJVMconfig";
constexpr wchar_t kProperties[] = L"QVJVMprops";
constexpr wchar_t kArchives[] = L"QVSysclasspath";

// The options cannot be built; the registry is read again by every call.
Machine Unconfigured(const char* name, void (*breakIt)(World&), const Host& host = kUnknownHost, uint32_t boxes = 0) {
  return {
      .name = name, .breakIt = breakIt, .first = First::Fails, .second = Second::Starts, .boxes = boxes, .host = host};
}

Machine Configured(const char* name, void (*breakIt)(World&), const Host& host = kUnknownHost, const char* note = "") {
  Machine machine = Works(name, breakIt, note);
  machine.host = host;
  return machine;
}

void OptionCount(World& world, const std::wstring& count) {
  world.Configure();
  world.BreakText(world.ConfigKey(kOptions), L"Count", count);
}

void ArchiveCount(World& world, const std::wstring& count) {
  world.BreakText(world.ConfigKey(kArchives), L"Count", count);
}

void RawOption(World& world, DWORD type, const Bytes& bytes) {
  world.Configure();
  world.BreakValue(world.ConfigKey(kOptions), L"0", type, bytes);
}

Bytes Odd(std::wstring_view text) {
  Bytes bytes = Unterminated(text);
  bytes.push_back('x');
  return bytes;
}

const Machine kLists[] = {
    Configured("option Count -5", [](World& world) { OptionCount(world, L"-5"); }),
    Configured("option Count 0", [](World& world) { OptionCount(world, L"0"); }),
    Configured(
        "option Count 1x", [](World& world) { OptionCount(world, L"1x"); }, kUnknownHost, "is 1"),
    Configured(
        "option Count is no number", [](World& world) { OptionCount(world, L"many"); }, kUnknownHost, "is 0"),
    Configured(
        "option Count is missing",
        [](World& world) {
          world.Configure();
          world.Registry().DeleteValue(Hive::Machine, world.ConfigKey(kOptions), L"Count");
        },
        kUnknownHost, "the built-in options"),
    Configured(
        "option Count is a DWORD",
        [](World& world) {
          world.Configure();
          world.BreakValue(world.ConfigKey(kOptions), L"Count", REG_DWORD, {1, 0, 0, 0});
        },
        kUnknownHost, "the built-in options"),
    Unconfigured("option Count 5, 3 present",
                 [](World& world) {
                   world.Options({L"-Xmx64m", L"-Xint", L"-Da=b"});
                   world.BreakText(world.ConfigKey(kOptions), L"Count", L"5");
                 }),
    Unconfigured("option Count 12abc", [](World& world) { OptionCount(world, L"12abc"); }),
    Unconfigured("option Count 2147483647", [](World& world) { OptionCount(world, L"2147483647"); }),
    Unconfigured("option Count 4294967300", [](World& world) { OptionCount(world, L"4294967300"); }),
    Unconfigured("option Count 1000000", [](World& world) { OptionCount(world, L"1000000"); }),
    Unconfigured("an option is a DWORD",
                 [](World& world) {
                   RawOption(world, REG_DWORD, {1, 0, 0, 0});
                 }),
    Unconfigured("an option is binary", [](World& world) { RawOption(world, REG_BINARY, Unterminated(L"-Xmx64m")); }),
    Configured("an option without its terminator",
               [](World& world) { RawOption(world, REG_SZ, Unterminated(L"-Xmx64m")); }),
    Configured("an option of an odd number of bytes", [](World& world) { RawOption(world, REG_SZ, Odd(L"-Xmx64m")); }),
    Unconfigured("an option of 0 bytes", [](World& world) { RawOption(world, REG_SZ, {}); }),
    Configured("an option of 1 MiB",
               [](World& world) { RawOption(world, REG_SZ, Unterminated(L"-Dlong=" + std::wstring(524281, L'v'))); }),
    Configured("100 properties, one of 1 MiB",
               [](World& world) {
                 world.Configure();
                 for (int i = 0; i < 100; ++i) {
                   world.BreakText(world.ConfigKey(kProperties), L"name" + std::to_wstring(i), std::to_wstring(i));
                 }
                 world.BreakText(world.ConfigKey(kProperties), L"long", std::wstring(524287, L'v'));
               }),

    Configured(
        "archive Count -5", [](World& world) { ArchiveCount(world, L"-5"); }, kQuovantHost),
    Configured(
        "archive Count 12abc", [](World& world) { ArchiveCount(world, L"12abc"); }, kQuovantHost, "is 12, 2 present"),
    Configured(
        "archive Count 2147483647", [](World& world) { ArchiveCount(world, L"2147483647"); }, kQuovantHost),
    Configured(
        "archive Count 4294967300", [](World& world) { ArchiveCount(world, L"4294967300"); }, kQuovantHost),
    Configured(
        "archive Count 5, 3 present",
        [](World& world) {
          world.Registry().SetText(Hive::Machine, world.ConfigKey(kArchives), L"4", L"C:\\five.jar");
          ArchiveCount(world, L"5");
        },
        kQuovantHost),
    Configured(
        "an archive of 1 MiB",
        [](World& world) {
          world.BreakValue(world.ConfigKey(kArchives), L"1", REG_SZ, Unterminated(std::wstring(524288, L'a')));
        },
        kQuovantHost),
    Configured(
        "the user's list with a Count of 2147483647",
        [](World& world) {
          world.Registry().SetText(Hive::User, std::wstring(kQuovantHost.root) + L"\\ClassPath", L"Count",
                                   L"2147483647");
          world.Registry().SetText(Hive::User, std::wstring(kQuovantHost.root) + L"\\ClassPath", L"0", L"C:\\mine.jar");
        },
        kQuovantHost),
    Unconfigured(
        "archive Count is missing", [](World& world) { world.DropValue(world.ConfigKey(kArchives), L"Count"); },
        kQuovantHost, 1),
    Unconfigured(
        "the archive list is missing", [](World& world) { world.DropKey(world.ConfigKey(kArchives)); }, kQuovantHost,
        1),
    Unconfigured(
        "the option list is missing", [](World& world) { world.DropKey(world.ConfigKey(kOptions)); }, kQuovantHost),
    Unconfigured(
        "the properties are missing", [](World& world) { world.DropKey(world.ConfigKey(kProperties)); }, kQuovantHost),
    Unconfigured(
        "the product's key is missing",
        [](World& world) {
          world.DropKey(kQuovantHost.root);
          world.NotFound();
        },
        kQuovantHost),
    Unconfigured(
        "JDKLocation is empty",
        [](World& world) {
          world.BreakText(world.ProductKey(), L"JDKLocation", L"");
          world.NotFound();
        },
        kQuovantHost),
    Unconfigured(
        "JREBinLocation is a DWORD",
        [](World& world) {
          world.BreakValue(world.ProductKey(), L"JREBinLocation", REG_DWORD, {1, 0, 0, 0});
          world.NotFound();
        },
        kQuovantHost),
    Configured(
        "JREBinLocation without its terminator",
        [](World& world) {
          world.BreakValue(world.ProductKey(), L"JREBinLocation", REG_SZ,
                           Unterminated(world.Runtime() + L"\\bin\\server"));
        },
        kQuovantHost),
};

QV_MACHINES(ListMachines, 4, kLists);

// ---- hosts ----

Machine On(const Host& host, const char* name, void (*breakIt)(World&), First first, Second second) {
  return {.name = name, .breakIt = breakIt, .first = first, .second = second, .host = host};
}

const Machine kHosts[] = {
    On(
        kQuovantHost, "qv190.exe, folders that lead nowhere",
        [](World& world) {
          world.BreakText(world.ProductKey(), L"JDKLocation", L"C:\\gone");
          world.BreakText(world.ProductKey(), L"JREBinLocation", L"C:\\gone\\bin");
          world.PathFront(L"C:\\gone\\BIN;C:\\gone\\bin;");
        },
        First::Fails, Second::NotTriedAgain),
    On(
        kTableroHost, "tk190.exe, its product's key is missing",
        [](World& world) {
          world.DropKey(kTableroHost.root);
          world.NotFound();
        },
        First::Fails, Second::Starts),
    On(
        kTableroHost, "tk190.exe, sound", [](World&) {}, First::Starts, Second::NotCalled),
    On(
        kJavaHost, "javaw.exe, no runtime on PATH",
        [](World& world) {
          world.Break(L"PATH", kSystemPath, world.Runtime() + L"\\bin\\server;" + kSystemPath);
          world.PathFrontAfterRepair(world.Runtime() + L"\\bin\\server;");
        },
        First::Fails, Second::NotTriedAgain),
    On(
        kJavaHost, "javaw.exe, its option list is missing",
        [](World& world) { world.DropKey(world.ConfigKey(kOptions)); }, First::Fails, Second::Starts),
    On(
        kEclipseHost, "eclipse.exe, a runtime on PATH", [](World&) {}, First::Starts, Second::NotCalled),
    On(
        kOlderHost, "qv195.exe, which is no known host, without a registry", [](World&) {}, First::Starts,
        Second::NotCalled),
};

QV_MACHINES(HostMachines, 5, kHosts);

}  // namespace
}  // namespace qvtest
