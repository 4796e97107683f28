// Where the runtime is, or is said to be: JAVA_HOME, PATH, the registered runtime, and places with long or unusual
// names.
#include <gtest/gtest.h>

#include "tests/reliability/machines/machine.h"

namespace qvtest {
namespace {

// A runtime whose jvm.dll has a full path of so many characters.
void UseLongPath(World& world, size_t characters) {
  const std::wstring below = L"\\bin\\server\\jvm.dll";
  std::wstring home = world.folder.Path(L"long");
  while (home.size() + below.size() < characters) {
    const size_t left = characters - home.size() - below.size();
    home += left == 1 ? L"x" : L"\\" + std::wstring(std::min<size_t>(left - 1, left == 52 ? 40 : 50), L'd');
  }
  world.OwnRuntimeAt(home);
}

Break Home(const std::wstring& home) {
  return [=](World& world) { world.BreakHome(home); };
}

// A runtime in this folder below the machine's.
Break RuntimeIn(const wchar_t* folder) {
  return [=](World& world) { world.OwnRuntimeAt(world.folder.Path(folder)); };
}
Break LongPath(size_t characters) {
  return [=](World& world) { UseLongPath(world, characters); };
}

// A way to write a JAVA_HOME that leads to the runtime all the same.
void WriteHome(World& world, const std::wstring& home) {
  world.Variable(L"JAVA_HOME", home);
  world.PathFront(home + L"\\BIN\\SERVER;");
}

const Machine kPlaces[] = {
    NotLoaded("JAVA_HOME in quotes", [](World& world) { world.BreakHome(L"\"" + world.runtime + L"\""); }),
    NotLoaded("JAVA_HOME that leads nowhere", Home(L"C:\\gone\\java")),
    Rarely(NotLoaded("JAVA_HOME on a missing drive", Home(L"Q:\\java"))),
    Rarely(NotLoaded("JAVA_HOME on a missing server", Home(L"\\\\nowhere.invalid\\share\\java"))),
    NotLoaded("JAVA_HOME is its bin folder", [](World& world) { world.BreakHome(world.runtime + L"\\bin"); }),
    Rarely(NotLoaded("JAVA_HOME is a file", [](World& world) { world.BreakHome(world.JvmDll()); })),
    NotLoaded("JAVA_HOME of 30,000 characters", Home(L"C:\\" + std::wstring(30000, L'j'))),
    Rarely(NotLoaded("JAVA_HOME with characters that no name may have", Home(L"C:\\<java>|?*"))),
    NotLoaded("JAVA_HOME is empty, nothing registered", Home(L"")),
    NotLoaded("a registered runtime without its JavaHome",
              [](World& world) {
                world.BreakHome(std::nullopt);
                world.registry.RegisterRuntime(L"17", L"");
                world.registry.DeleteValue(Hive::Machine, kJavaSoft + L"\\17", L"JavaHome");
              }),
    NotLoaded("the current runtime switched off, no other",
              [](World& world) {
                world.Argument(L"setting", L"1");
                world.NotFound();
                const std::wstring beside = world.InstallFolder() + L"\\JRE";
                world.frontAfterRepair = beside + L"\\BIN\\SERVER;";
                world.repairs.push_back([&world, beside] { world.MakeRuntime(beside); });
              }),
    Works("JAVA_HOME is empty, a runtime is registered",
          [](World& world) {
            world.Variable(L"JAVA_HOME", L"");
            world.registry.RegisterRuntime(L"17", world.runtime);
          }),
    Works("JAVA_HOME that leads nowhere, folders configured",
          [](World& world) {
            world.Variable(L"JAVA_HOME", L"C:\\gone\\java");
            world.ConfigureFolders();
            world.PathFront(world.runtime + L"\\BIN;" + world.runtime + L"\\bin\\server;");
          }),
    Works("JAVA_HOME that leads nowhere, PATH reaches a runtime",
          [](World& world) {
            world.Variable(L"JAVA_HOME", L"C:\\gone\\java");
            world.Variable(L"PATH", world.runtime + L"\\bin\\server;" + kSystemPath);
            world.NotFound();
          }),
    Works("JAVA_HOME ends with a backslash", [](World& world) { WriteHome(world, world.runtime + L"\\"); }),
    Rarely(Works("JAVA_HOME with slashes",
                 [](World& world) {
                   std::wstring home = world.runtime;
                   std::replace(home.begin(), home.end(), L'\\', L'/');
                   WriteHome(world, home);
                 })),
    Works("JAVA_HOME is relative",
          [](World& world) {
            world.OwnRuntime();
            world.workFolder = world.folder.Path();
            WriteHome(world, L"java");
          }),
    Rarely(Works("JAVA_HOME with dots in it", [](World& world) { WriteHome(world, world.runtime + L"\\lib\\..\\."); })),
    Works("JAVA_HOME with \\\\?\\ before it", [](World& world) { WriteHome(world, L"\\\\?\\" + world.runtime); }),
    Rarely(Works("a runtime in a folder with blanks", RuntimeIn(L"Program Files (Java) & more\\jre 1"))),
    OnEach(Works("a runtime in a folder with umlauts", RuntimeIn(L"Z\u00fcrich \u00c5\u00e9"))),
    Ended("a runtime in a folder outside the code page", RuntimeIn(L"\u65e5\u672c\u8a9e")),
    NotLoaded("a runtime in a folder with ; in its name",
              [](World& world) {
                const std::wstring sound = world.runtime;
                world.Break(L"JAVA_HOME", world.OwnRuntimeAt(world.folder.Path(L"a;b")), sound);
              }),
    Rarely(OnEach(Works("jvm.dll at 259 characters", LongPath(259)))),
    OnEach(Works("jvm.dll at 260 characters", LongPath(260))),
    Ended("jvm.dll at 300 characters", LongPath(300)),
    Works("PATH of 32,000 characters",
          Variable(L"PATH", std::wstring(kSystemPath) + L";C:\\" + std::wstring(31957, L'p'))),
    Rarely(Works("PATH with 3,000 missing folders",
                 [](World& world) {
                   std::wstring path = kSystemPath;
                   for (int i = 0; i < 3000; ++i) path += L";C:\\x" + std::to_wstring(i);
                   world.Variable(L"PATH", path);
                 })),
    Works("PATH is missing", Variable(L"PATH", std::nullopt)),
    Rarely(Works("PATH is empty", Variable(L"PATH", L""))),
    Works("no folder for temporary files", Variable(L"TEMP", L"C:\\gone") + Variable(L"TMP", L"C:\\gone")),
};

QV_MACHINES(PlaceMachines, 2, kPlaces);

}  // namespace
}  // namespace qvtest
