// The runtime of a world is made of hard links, so that a machine costs no more than its names; what is broken is
// replaced, never written to. The links go to a copy of this process's own: a file that another process has open cannot
// be renamed or deleted, by whichever of its names.
#include "tests/reliability/machines/machine.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>

#include "tests/support/environment.h"
#include "tests/support/text.h"

namespace qvtest {

namespace fs = std::filesystem;

namespace {

// Names of 260 characters and more only work so.
std::wstring Long(const std::wstring& path) { return path.size() < 240 ? path : L"\\\\?\\" + path; }

void LinkTree(const std::wstring& from, const std::wstring& to) {
  fs::create_directories(Long(to));
  for (const auto& entry : fs::directory_iterator(from)) {
    const std::wstring target = to + L"\\" + entry.path().filename().wstring();
    if (entry.is_directory()) {
      LinkTree(entry.path().wstring(), target);
    } else if (CreateHardLinkW(Long(target).c_str(), entry.path().c_str(), nullptr) == FALSE) {
      EXPECT_NE(CopyFileW(entry.path().c_str(), Long(target).c_str(), FALSE), FALSE)
          << ToUtf8(target) << ": error " << GetLastError();
    }
  }
}

// The standard library's walk does not get to the names that are too long.
void RemoveTree(const std::wstring& folder) {
  WIN32_FIND_DATAW found{};
  const HANDLE search = FindFirstFileW((Long(folder) + L"\\*").c_str(), &found);
  if (search == INVALID_HANDLE_VALUE) return;
  do {
    const std::wstring name = found.cFileName;
    if (name == L"." || name == L"..") continue;
    const std::wstring path = folder + L"\\" + name;
    if ((found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
      RemoveTree(path);
    } else {
      DeleteFileW(Long(path).c_str());
    }
  } while (FindNextFileW(search, &found) != FALSE);
  FindClose(search);
  RemoveDirectoryW(Long(folder).c_str());
}

void Move(const std::wstring& from, const std::wstring& to) {
  EXPECT_NE(MoveFileW(from.c_str(), to.c_str()), FALSE)
      << ToUtf8(from) << " to " << ToUtf8(to) << ": error " << GetLastError();
}

}  // namespace

Bytes Unterminated(std::wstring_view text) {
  const auto* const first = reinterpret_cast<const unsigned char*>(text.data());
  return {first, first + text.size() * sizeof(wchar_t)};
}

World::World(int runtime, const Host& host) : m_version(runtime), m_host(host) {
  const std::wstring bin = ProgramFolder();
  for (const auto& [source, name] : {std::pair(bin + L"\\..\\qvjvm.dll", std::wstring(L"qvjvm.dll")),
                                     std::pair(bin + L"\\qvshr.dll", std::wstring(L"qvshr.dll")),
                                     std::pair(bin + L"\\machine_host.exe", std::wstring(m_host.name))}) {
    m_folder.CopyIn(source, L"host\\" + name);
  }
  m_folder.MakeFolder(L"log");
  m_workFolder = m_folder.MakeFolder(L"work");
  m_folder.MakeFolder(L"aside");
  Variable(L"PATH", kSystemPath);
  Variable(L"CLASSPATH", std::nullopt);
  for (const wchar_t* name : {L"JAVA_TOOL_OPTIONS", L"_JAVA_OPTIONS", L"JDK_JAVA_OPTIONS"})
    Variable(name, std::nullopt);
  UseRuntime(InstalledRuntime(runtime));
}

World::~World() {
  for (const HANDLE file : m_locked) CloseHandle(file);
  // What is too deep for the folder's own end; a program that just ended may still be leaving its files.
  for (int attempt = 0; m_ownRuntime && attempt < 200; ++attempt) {
    RemoveTree(m_runtime);
    if (!FileExists(Long(m_runtime))) break;
    Sleep(50);
  }
}

std::wstring World::InstalledRuntime(int version) {
  return ReadVariable(L"QV_TEST_INSTALLATIONS").value_or(L"") + L"\\" + std::to_wstring(version) + L"\\JRE";
}

namespace {

// A copy of the installed runtime for the life of the process.
std::wstring CopiedRuntime(int version) {
  static std::map<int, std::unique_ptr<TempFolder>> copies;
  std::unique_ptr<TempFolder>& copy = copies[version];
  if (copy == nullptr) {
    copy = std::make_unique<TempFolder>();
    const fs::path source = World::InstalledRuntime(version);
    for (const wchar_t* folder : {L"bin", L"conf", L"lib"}) {
      std::error_code error;
      fs::copy(source / folder, fs::path(copy->Path()) / folder, fs::copy_options::recursive, error);
      EXPECT_FALSE(error) << ToUtf8((source / folder).wstring()) << ": " << error.message();
    }
  }
  return copy->Path();
}

}  // namespace

void World::MakeRuntime(const std::wstring& place) const {
  const std::wstring source = CopiedRuntime(m_version);
  EXPECT_TRUE(FileExists(source + L"\\bin\\server\\jvm.dll")) << ToUtf8(source);
  for (size_t slash = place.find(L'\\', 3); slash != std::wstring::npos; slash = place.find(L'\\', slash + 1)) {
    CreateDirectoryW(Long(place.substr(0, slash)).c_str(), nullptr);
  }
  CreateDirectoryW(Long(place).c_str(), nullptr);
  for (const wchar_t* folder : {L"\\bin", L"\\conf", L"\\lib"}) LinkTree(source + folder, place + folder);
}

std::wstring World::OwnRuntimeAt(const std::wstring& place) {
  MakeRuntime(place);
  m_ownRuntime = true;
  UseRuntime(place);
  return place;
}

void World::UseRuntime(const std::wstring& home) {
  m_runtime = home;
  if (m_host.kind == Host::JavaProgram) {
    Variable(L"PATH", home + L"\\bin\\server;" + kSystemPath);
  } else if (m_host.kind == Host::Known) {
    PathFront(home + L"\\BIN;" + home + L"\\bin\\server;");
  } else {
    Variable(L"JAVA_HOME", home);
    PathFront(home + L"\\BIN\\SERVER;");
  }
  if (m_host.kind != Host::Unknown) Configure();
}

void World::Configure() {
  m_registry.SetList(Hive::Machine, ConfigKey(L"QVSysclasspath"), {L"C:\\product\\one.jar", L"C:\\product\\two.jar"});
  m_registry.SetList(Hive::Machine, ConfigKey(L"QVJVMconfig"), {L"-Xmx64m"});
  m_registry.SetText(Hive::Machine, ConfigKey(L"QVJVMprops"), L"any.property", L"1");
  if (m_host.kind != Host::Unknown) ConfigureFolders();
}

void World::ConfigureFolders() {
  m_registry.SetText(Hive::Machine, ProductKey(), L"JDKLocation", m_runtime);
  m_registry.SetText(Hive::Machine, ProductKey(), L"JREBinLocation", m_runtime + L"\\bin\\server");
}

void World::Remove(const std::wstring& relative) {
  if (!m_ownRuntime) OwnRuntime();
  const std::wstring place = m_runtime + L"\\" + relative;
  const std::wstring aside = m_folder.Path(L"aside\\" + std::to_wstring(m_hidden++));
  Move(place, aside);
  // A library that was mapped cannot be deleted, but renamed.
  Repair([place, aside] {
    if (FileExists(place)) Move(place, aside + L".broken");
    Move(aside, place);
  });
}

void World::Replace(const std::wstring& relative, const std::string& content) {
  Remove(relative);
  const HANDLE file = CreateFileW((m_runtime + L"\\" + relative).c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                                  FILE_ATTRIBUTE_NORMAL, nullptr);
  DWORD written = 0;
  EXPECT_NE(WriteFile(file, content.data(), static_cast<DWORD>(content.size()), &written, nullptr), FALSE);
  CloseHandle(file);
}

void World::ReplaceByFolder(const std::wstring& relative) {
  Remove(relative);
  EXPECT_NE(CreateDirectoryW((m_runtime + L"\\" + relative).c_str(), nullptr), FALSE);
}

void World::Copy(const std::wstring& source, const std::wstring& relative) {
  Remove(relative);
  EXPECT_NE(CopyFileW(source.c_str(), (m_runtime + L"\\" + relative).c_str(), TRUE), FALSE) << GetLastError();
}

void World::Lock(const std::wstring& relative) {
  const HANDLE file = CreateFileW((m_runtime + L"\\" + relative).c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                                  OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(file, INVALID_HANDLE_VALUE) << GetLastError();
  m_locked.push_back(file);
  Repair([this] {
    for (const HANDLE locked : m_locked) CloseHandle(locked);
    m_locked.clear();
  });
}

void World::Variable(const std::wstring& name, const std::optional<std::wstring>& value) {
  m_environment[name] = value;
}

void World::Break(const std::wstring& name, const std::optional<std::wstring>& value,
                  const std::optional<std::wstring>& sound) {
  Variable(name, value);
  if (sound) {
    Argument(L"set", name + L"=" + *sound);
  } else {
    Argument(L"unset", name);
  }
}

std::wstring World::ConfigKey(const std::wstring& list) const {
  return ProductKey() + (m_host.kind == Host::Unknown ? L"\\QVRTConfig\\" : L"\\QVIDEConfig\\") + list;
}

void World::BreakValue(const std::wstring& key, const std::wstring& name, DWORD type, const Bytes& bytes) {
  m_registry.SetRaw(Hive::Machine, key, name, type, bytes);
  Repair([this] { Configure(); });
}

void World::BreakText(const std::wstring& key, const std::wstring& name, const std::wstring& text) {
  m_registry.SetText(Hive::Machine, key, name, text);
  Repair([this] { Configure(); });
}

void World::DropValue(const std::wstring& key, const std::wstring& name) {
  m_registry.DeleteValue(Hive::Machine, key, name);
  Repair([this] { Configure(); });
}

void World::DropKey(const std::wstring& key) {
  m_registry.DeleteKey(Hive::Machine, key);
  Repair([this] { Configure(); });
}

void World::Options(const std::vector<std::wstring>& options) {
  Configure();
  m_registry.SetList(Hive::Machine, ConfigKey(L"QVJVMconfig"), options);
  Repair([this] { Configure(); });
}

ChildOptions World::Child() const {
  ChildOptions options;
  options.environment = m_environment;
  options.workFolder = m_workFolder;
  options.limitMs = 120000;
  options.arguments = {L"machine", m_registry.Path(Hive::Machine), L"user", m_registry.Path(Hive::User),
                       L"log",     m_folder.Path(L"log")};
  for (const auto& [key, value] : m_arguments) options.arguments.insert(options.arguments.end(), {key, value});
  return options;
}

std::string World::Log() const {
  const std::wstring log = m_folder.Path(L"log\\vm.out");
  return FileExists(log) ? ReadWholeFile(log) : "";
}

Machine NotLoaded(const char* name, Break breakIt) {
  return {.name = name, .breakIt = std::move(breakIt), .first = First::Fails, .second = Second::NotTriedAgain};
}

Machine Ended(const char* name, Break breakIt, int startsFrom) {
  return {.name = name,
          .breakIt = std::move(breakIt),
          .first = First::EndsTheProcess,
          .dependsOnRuntime = true,
          .startsFrom = startsFrom};
}

Machine Works(const char* name, Break breakIt, const char* note) {
  return {.name = name, .breakIt = std::move(breakIt), .first = First::Starts, .note = note};
}

Machine OnEach(Machine machine) {
  machine.dependsOnRuntime = true;
  return machine;
}

Break Remove(const wchar_t* relative) {
  return [=](World& world) { world.Remove(relative); };
}
Break Replace(const wchar_t* relative, const std::string& content) {
  return [=](World& world) { world.Replace(relative, content); };
}
Break Options(const std::vector<std::wstring>& options) {
  return [=](World& world) { world.Options(options); };
}
Break Variable(const wchar_t* name, const std::optional<std::wstring>& value) {
  return [=](World& world) { world.Variable(name, value); };
}
Break ClassPath(const std::wstring& path) {
  return [=](World& world) { world.Argument(L"classpath", path); };
}

}  // namespace qvtest
