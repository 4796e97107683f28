// Runtimes that are there but not whole. A library that the system cannot load is the service's failure; what the JVM
// itself misses while it starts is for the JVM to judge, and it ends the process.
#include <gtest/gtest.h>

#include "tests/reliability/machines/machine.h"
#include "tests/support/broken_image.h"

namespace qvtest {
namespace {

constexpr unsigned short kX86 = 0x014C;
constexpr unsigned short kArm64 = 0xAA64;
constexpr wchar_t kJvm[] = L"bin\\server\\jvm.dll";

std::string Library(const World& world) { return ReadWholeFile(world.JvmDll()); }

const Machine kRuntimes[] = {
    NotLoaded("no runtime anywhere",
              [](World& world) {
                world.Break(L"JAVA_HOME", std::nullopt, world.Runtime());
                world.NotFound();
              }),
    NotLoaded("jvm.dll for 32-bit programs",
              [](World& world) { world.Replace(kJvm, ForMachine(Library(world), kX86)); }),
    NotLoaded("jvm.dll for ARM64", [](World& world) { world.Replace(kJvm, ForMachine(Library(world), kArm64)); }),
    NotLoaded("jvm.dll of 0 bytes", [](World& world) { world.Replace(kJvm, ""); }),
    NotLoaded("jvm.dll cut after its headers",
              [](World& world) { world.Replace(kJvm, Library(world).substr(0, 1024)); }),
    NotLoaded("jvm.dll cut in the middle",
              [](World& world) { world.Replace(kJvm, Library(world).substr(0, Library(world).size() / 2)); }),
    NotLoaded("a text file as jvm.dll", [](World& world) { world.Replace(kJvm, std::string(20000, 'x')); }),
    NotLoaded("a folder as jvm.dll", [](World& world) { world.ReplaceByFolder(kJvm); }),
    NotLoaded("jvm.dll open elsewhere and not shared",
              [](World& world) {
                world.Copy(world.InstalledRuntime(world.Version()) + L"\\" + kJvm, kJvm);
                world.Lock(kJvm);
              }),
    NotLoaded("jvm.dll wants a DLL that nobody has",
              [](World& world) { world.Replace(kJvm, WithMissingImport(Library(world), "VCRUNTIME140.dll")); }),
    {"another DLL as jvm.dll", [](World& world) { world.Copy(world.Runtime() + L"\\bin\\zip.dll", kJvm); },
     First::Fails, Second::WrongLibrary},
    NotLoaded("a broken private runtime beside the service",
              [](World& world) {
                world.OwnRuntimeAt(world.InstallFolder() + L"\\JRE");
                world.Replace(kJvm, "");
                world.Variable(L"JAVA_HOME", std::nullopt);
              }),
    NotLoaded("a broken client VM before a sound server VM",
              [](World& world) {
                CreateDirectoryW((world.OwnRuntime() + L"\\bin\\client").c_str(), nullptr);
                CopyFileW(world.JvmDll().c_str(), (world.Runtime() + L"\\bin\\client\\jvm.dll").c_str(), TRUE);
                world.Replace(L"bin\\client\\jvm.dll", "");
                world.PathFront(world.Runtime() + L"\\BIN\\CLIENT;");
              }),
    NotLoaded("bin is missing",
              [](World& world) {
                world.Remove(L"bin");
                world.NotFound();
              }),

    Ended("lib is missing", [](World& world) { world.Remove(L"lib"); }),
    Ended("lib\\modules is missing", [](World& world) { world.Remove(L"lib\\modules"); }),
    Ended("lib\\modules of 0 bytes", [](World& world) { world.Replace(L"lib\\modules", ""); }),
    Ended("a text file as lib\\modules", [](World& world) { world.Replace(L"lib\\modules", std::string(20000, 'x')); }),
    Ended("a folder as lib\\modules", [](World& world) { world.ReplaceByFolder(L"lib\\modules"); }),
    Ended("lib\\modules cut in the middle",
          [](World& world) {
            world.Replace(L"lib\\modules", ReadWholeFile(world.Runtime() + L"\\lib\\modules").substr(0, 1 << 20));
          }),
    Ended("lib\\modules of another Java",
          [](World& world) {
            const std::wstring other = world.InstalledRuntime(world.Version() == 21 ? 17 : 21) + L"\\lib\\modules";
            world.Remove(L"lib\\modules");
            EXPECT_NE(CopyFileW(other.c_str(), (world.Runtime() + L"\\lib\\modules").c_str(), TRUE), FALSE);
          }),
    OnEach(Works(
        "lib\\jvm.cfg is missing", [](World& world) { world.Remove(L"lib\\jvm.cfg"); },
        "only the java launcher reads it")),
    Ended("java.dll is missing", [](World& world) { world.Remove(L"bin\\java.dll"); }),
    Ended("java.dll cut in the middle",
          [](World& world) {
            world.Replace(L"bin\\java.dll", ReadWholeFile(world.Runtime() + L"\\bin\\java.dll").substr(0, 40000));
          }),
    Ended("java.dll for 32-bit programs",
          [](World& world) {
            world.Replace(L"bin\\java.dll", ForMachine(ReadWholeFile(world.Runtime() + L"\\bin\\java.dll"), kX86));
          }),
    Ended("jimage.dll is missing", [](World& world) { world.Remove(L"bin\\jimage.dll"); }),
    Ended(
        "zip.dll is missing", [](World& world) { world.Remove(L"bin\\zip.dll"); }, 21),
    Ended(
        "verify.dll is missing", [](World& world) { world.Remove(L"bin\\verify.dll"); }, 17),
    OnEach(Works(
        "net.dll and nio.dll are missing",
        [](World& world) {
          world.Remove(L"bin\\net.dll");
          world.Remove(L"bin\\nio.dll");
        },
        "found missing when Java first opens a file or a socket")),
    OnEach(Works(
        "conf is missing", [](World& world) { world.Remove(L"conf"); },
        "found missing when Java first looks at security or logging")),
};

QV_MACHINES(RuntimeMachines, 1, kRuntimes);

}  // namespace
}  // namespace qvtest
