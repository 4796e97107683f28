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
Machine Unconfigured(const char* name, Break breakIt, uint32_t boxes = 0) {
  return {.name = name, .breakIt = std::move(breakIt), .first = First::Fails, .second = Second::Starts, .boxes = boxes};
}
Machine OfAKnownHost(Machine machine) {
  machine.host = kQuovantHost;
  return machine;
}

// A value of the options' list, of the archives' or of the product's key.
Break RawOption(const wchar_t* value, DWORD type, const Bytes& bytes) {
  return [=](World& world) {
    world.Configure();
    world.Spoil().SetRaw(Hive::Machine, world.ConfigKey(kOptions), value, type, bytes);
  };
}
Break RawLocation(const wchar_t* value, DWORD type, const Bytes& bytes) {
  return [=](World& world) { world.Spoil().SetRaw(Hive::Machine, world.ProductKey(), value, type, bytes); };
}
Break OptionCount(const wchar_t* count) {
  return [=](World& world) {
    world.Configure();
    world.Spoil().SetText(Hive::Machine, world.ConfigKey(kOptions), L"Count", count);
  };
}
Break ArchiveCount(const wchar_t* count) {
  return [=](World& world) { world.Spoil().SetText(Hive::Machine, world.ConfigKey(kArchives), L"Count", count); };
}
Break WithoutKey(const wchar_t* list) {
  return [=](World& world) { world.Spoil().DeleteKey(Hive::Machine, world.ConfigKey(list)); };
}

void WithoutProduct(World& world) {
  world.Spoil().DeleteKey(Hive::Machine, world.host.root);
  world.NotFound();
}

Bytes Odd(std::wstring_view text) {
  Bytes bytes = Unterminated(text);
  bytes.push_back('x');
  return bytes;
}

const Machine kLists[] = {
    Works("option Count -5", OptionCount(L"-5")),
    Rarely(Works("option Count 0", OptionCount(L"0"))),
    Works("option Count 1x", OptionCount(L"1x"), "is 1"),
    Rarely(Works("option Count is no number", OptionCount(L"many"), "is 0")),
    Works(
        "option Count is missing",
        [](World& world) {
          world.Configure();
          world.registry.DeleteValue(Hive::Machine, world.ConfigKey(kOptions), L"Count");
        },
        "the built-in options"),
    Works("option Count is a DWORD", RawOption(L"Count", REG_DWORD, {1, 0, 0, 0}), "the built-in options"),
    Unconfigured("option Count 5, 3 present",
                 [](World& world) {
                   world.Options({L"-Xmx64m", L"-Xint", L"-Da=b"});
                   world.Spoil().SetText(Hive::Machine, world.ConfigKey(kOptions), L"Count", L"5");
                 }),
    Rarely(Unconfigured("option Count 12abc", OptionCount(L"12abc"))),
    Unconfigured("option Count 2147483647", OptionCount(L"2147483647")),
    Rarely(Unconfigured("option Count 4294967300", OptionCount(L"4294967300"))),
    Rarely(Unconfigured("option Count 1000000", OptionCount(L"1000000"))),
    Unconfigured("an option is a DWORD", RawOption(L"0", REG_DWORD, {1, 0, 0, 0})),
    Rarely(Unconfigured("an option is binary", RawOption(L"0", REG_BINARY, Unterminated(L"-Xmx64m")))),
    Works("an option without its terminator", RawOption(L"0", REG_SZ, Unterminated(L"-Xmx64m"))),
    Rarely(Works("an option of an odd number of bytes", RawOption(L"0", REG_SZ, Odd(L"-Xmx64m")))),
    Unconfigured("an option of 0 bytes", RawOption(L"0", REG_SZ, {})),
    Works("an option of 1 MiB", RawOption(L"0", REG_SZ, Unterminated(L"-Dlong=" + std::wstring(524281, L'v')))),
    Works("100 properties, one of 1 MiB",
          [](World& world) {
            world.Configure();
            for (int i = 0; i < 100; ++i) {
              world.Spoil().SetText(Hive::Machine, world.ConfigKey(kProperties), L"name" + std::to_wstring(i),
                                    std::to_wstring(i));
            }
            world.Spoil().SetText(Hive::Machine, world.ConfigKey(kProperties), L"long", std::wstring(524287, L'v'));
          }),

    OfAKnownHost(Works("archive Count -5", ArchiveCount(L"-5"))),
    Rarely(OfAKnownHost(Works("archive Count 12abc", ArchiveCount(L"12abc"), "is 12, 2 present"))),
    OfAKnownHost(Works("archive Count 2147483647", ArchiveCount(L"2147483647"))),
    Rarely(OfAKnownHost(Works("archive Count 4294967300", ArchiveCount(L"4294967300")))),
    OfAKnownHost(Works("archive Count 5, 3 present",
                       [](World& world) {
                         world.registry.SetText(Hive::Machine, world.ConfigKey(kArchives), L"4", L"C:\\five.jar");
                         ArchiveCount(L"5")(world);
                       })),
    OfAKnownHost(Works("an archive of 1 MiB",
                       [](World& world) {
                         world.Spoil().SetRaw(Hive::Machine, world.ConfigKey(kArchives), L"1", REG_SZ,
                                              Unterminated(std::wstring(524288, L'a')));
                       })),
    OfAKnownHost(Works("the user's list with a Count of 2147483647",
                       [](World& world) {
                         const std::wstring list = std::wstring(kQuovantHost.root) + L"\\ClassPath";
                         world.registry.SetText(Hive::User, list, L"Count", L"2147483647");
                         world.registry.SetText(Hive::User, list, L"0", L"C:\\mine.jar");
                       })),
    OfAKnownHost(Unconfigured(
        "archive Count is missing",
        [](World& world) { world.Spoil().DeleteValue(Hive::Machine, world.ConfigKey(kArchives), L"Count"); }, 1)),
    OfAKnownHost(Unconfigured("the archive list is missing", WithoutKey(kArchives), 1)),
    OfAKnownHost(Unconfigured("the option list is missing", WithoutKey(kOptions))),
    Rarely(OfAKnownHost(Unconfigured("the properties are missing", WithoutKey(kProperties)))),
    OfAKnownHost(Unconfigured("the product's key is missing", WithoutProduct)),
    OfAKnownHost(Unconfigured("JDKLocation is empty", RawLocation(L"JDKLocation", REG_SZ, {0, 0}) + NotFound)),
    Rarely(OfAKnownHost(
        Unconfigured("JREBinLocation is a DWORD", RawLocation(L"JREBinLocation", REG_DWORD, {1, 0, 0, 0}) + NotFound))),
    OfAKnownHost(Works("JREBinLocation without its terminator",
                       [](World& world) {
                         RawLocation(L"JREBinLocation", REG_SZ, Unterminated(world.runtime + L"\\bin\\server"))(world);
                       })),
};

QV_MACHINES(ListMachines, 4, kLists);

// ---- hosts ----

Machine On(
    const Host& host, const char* name, Break breakIt = [](World&) {}, First first = First::Starts,
    Second second = Second::NotCalled) {
  return {.name = name, .breakIt = std::move(breakIt), .first = first, .second = second, .host = host};
}

const Machine kHosts[] = {
    On(
        kQuovantHost, "qv190.exe, folders that lead nowhere",
        [](World& world) {
          world.Spoil().SetText(Hive::Machine, world.ProductKey(), L"JDKLocation", L"C:\\gone");
          world.Spoil().SetText(Hive::Machine, world.ProductKey(), L"JREBinLocation", L"C:\\gone\\bin");
          world.PathFront(L"C:\\gone\\BIN;C:\\gone\\bin;");
        },
        First::Fails, Second::NotTriedAgain),
    On(kTableroHost, "tk190.exe, its product's key is missing", WithoutProduct, First::Fails, Second::Starts),
    On(kTableroHost, "tk190.exe, sound"),
    On(
        kJavaHost, "javaw.exe, no runtime on PATH",
        [](World& world) {
          world.Break(L"PATH", kSystemPath, world.runtime + L"\\bin\\server;" + kSystemPath);
          world.frontAfterRepair = world.runtime + L"\\bin\\server;";
        },
        First::Fails, Second::NotTriedAgain),
    On(kJavaHost, "javaw.exe, its option list is missing", WithoutKey(kOptions), First::Fails, Second::Starts),
    On({L"eclipse.exe", Host::JavaProgram, kLoomhallRoot}, "eclipse.exe, a runtime on PATH"),
    On({L"qv195.exe", Host::Unknown, kQuovantRoot}, "qv195.exe, which is no known host, without a registry"),
};

QV_MACHINES(HostMachines, 5, kHosts);

}  // namespace
}  // namespace qvtest
