// Runtimes that are there but not whole. A library that the system cannot load is the service's failure; what the JVM
// itself misses while it starts is for the JVM to judge, and it ends the process.
#include "tests/reliability/machines/machine.h"
#include "tests/support/broken_image.h"

namespace qvtest {
namespace {

constexpr unsigned short kX86 = 0x014C;
constexpr unsigned short kArm64 = 0xAA64;
constexpr wchar_t kJvm[] = L"bin\\server\\jvm.dll";

constexpr wchar_t kModules[] = L"lib\\modules";
constexpr wchar_t kJava[] = L"bin\\java.dll";

// A file of the runtime's, changed.
Break Changed(const wchar_t* relative, std::string (*change)(const std::string& content)) {
  return [=](World& world) { world.Replace(relative, change(ReadWholeFile(world.runtime + L"\\" + relative))); };
}
Break Cut(const wchar_t* relative, size_t bytes) {
  return
      [=](World& world) { world.Replace(relative, ReadWholeFile(world.runtime + L"\\" + relative).substr(0, bytes)); };
}
Break FolderInstead(const wchar_t* relative) {
  return [=](World& world) { world.ReplaceByFolder(relative); };
}
std::string ForX86(const std::string& library) { return ForMachine(library, kX86); }

const Machine kRuntimes[] = {
    NotLoaded("no runtime anywhere", [](World& world) { world.BreakHome(std::nullopt); }),
    NotLoaded("jvm.dll for 32-bit programs", Changed(kJvm, ForX86)),
    Rarely(NotLoaded("jvm.dll for ARM64",
                     Changed(kJvm, [](const std::string& library) { return ForMachine(library, kArm64); }))),
    NotLoaded("jvm.dll of 0 bytes", Replace(kJvm, "")),
    Rarely(NotLoaded("jvm.dll cut after its headers", Cut(kJvm, 1024))),
    NotLoaded("jvm.dll cut in the middle",
              Changed(kJvm, [](const std::string& library) { return library.substr(0, library.size() / 2); })),
    Rarely(NotLoaded("a text file as jvm.dll", Replace(kJvm, std::string(20000, 'x')))),
    NotLoaded("a folder as jvm.dll", FolderInstead(kJvm)),
    NotLoaded("jvm.dll open elsewhere and not shared",
              [](World& world) {
                world.Copy(world.InstalledRuntime(world.version) + L"\\" + kJvm, kJvm);
                world.Lock(kJvm);
              }),
    NotLoaded("jvm.dll wants a DLL that nobody has",
              Changed(kJvm, [](const std::string& library) { return WithMissingImport(library, "VCRUNTIME140.dll"); })),
    {"another DLL as jvm.dll", [](World& world) { world.Copy(world.runtime + L"\\bin\\zip.dll", kJvm); }, First::Fails,
     Second::WrongLibrary},
    NotLoaded("a broken private runtime beside the service",
              [](World& world) {
                world.OwnRuntimeAt(world.InstallFolder() + L"\\JRE");
                world.Replace(kJvm, "");
                world.Variable(L"JAVA_HOME", std::nullopt);
              }),
    NotLoaded("a broken client VM before a sound server VM",
              [](World& world) {
                CreateDirectoryW((world.OwnRuntime() + L"\\bin\\client").c_str(), nullptr);
                CopyFileW(world.JvmDll().c_str(), (world.runtime + L"\\bin\\client\\jvm.dll").c_str(), TRUE);
                world.Replace(L"bin\\client\\jvm.dll", "");
                world.PathFront(world.runtime + L"\\BIN\\CLIENT;");
              }),
    NotLoaded("bin is missing", Remove(L"bin") + NotFound),

    Rarely(Ended("lib is missing", Remove(L"lib"))),
    Ended("lib\\modules is missing", Remove(kModules)),
    Rarely(Ended("lib\\modules of 0 bytes", Replace(kModules, ""))),
    Rarely(Ended("a text file as lib\\modules", Replace(kModules, std::string(20000, 'x')))),
    Ended("a folder as lib\\modules", FolderInstead(kModules)),
    Ended("lib\\modules cut in the middle", Cut(kModules, 1 << 20)),
    Ended("lib\\modules of another Java",
          [](World& world) {
            world.Copy(world.InstalledRuntime(world.version == 21 ? 17 : 21) + L"\\" + kModules, kModules);
          }),
    OnEach(Works("lib\\jvm.cfg is missing", Remove(L"lib\\jvm.cfg"), "only the java launcher reads it")),
    Ended("java.dll is missing", Remove(kJava)),
    Ended("java.dll cut in the middle", Cut(kJava, 40000)),
    Rarely(Ended("java.dll for 32-bit programs", Changed(kJava, ForX86))),
    Rarely(Ended("jimage.dll is missing", Remove(L"bin\\jimage.dll"))),
    Ended("zip.dll is missing", Remove(L"bin\\zip.dll"), 21),
    Ended("verify.dll is missing", Remove(L"bin\\verify.dll"), 17),
    OnEach(Works("net.dll and nio.dll are missing", Remove(L"bin\\net.dll") + Remove(L"bin\\nio.dll"),
                 "found missing when Java first opens a file or a socket")),
    OnEach(Works("conf is missing", Remove(L"conf"), "found missing when Java first looks at security or logging")),
};

QV_MACHINES(RuntimeMachines, 1, kRuntimes);

}  // namespace
}  // namespace qvtest
