// The runtime of a world is made of hard links, so that a machine costs no more than its names; what is broken is
// replaced, never written to. The links go to a copy of this process's own: a file that another process has open cannot
// be renamed or deleted, by whichever of its names.
#include "tests/reliability/machines/machine.h"

#include <gtest/gtest.h>

#include <memory>

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

World::World(int javaVersion, const Host& program) : version(javaVersion), host(program) {
  const std::wstring bin = ProgramFolder();
  for (const auto& [source, name] : {std::pair(bin + L"\\..\\qvjvm.dll", std::wstring(L"qvjvm.dll")),
                                     std::pair(bin + L"\\qvshr.dll", std::wstring(L"qvshr.dll")),
                                     std::pair(bin + L"\\machine_host.exe", std::wstring(host.name))}) {
    folder.CopyIn(source, L"host\\" + name);
  }
  folder.MakeFolder(L"log");
  workFolder = folder.MakeFolder(L"work");
  folder.MakeFolder(L"aside");
  Variable(L"PATH", kSystemPath);
  Variable(L"CLASSPATH", std::nullopt);
  for (const wchar_t* name : {L"JAVA_TOOL_OPTIONS", L"_JAVA_OPTIONS", L"JDK_JAVA_OPTIONS"})
    Variable(name, std::nullopt);
  UseRuntime(InstalledRuntime(version));
}

World::~World() {
  m_locked.clear();
  // What is too deep for the folder's own end; a program that just ended may still be leaving its files.
  for (int attempt = 0; m_ownRuntime && attempt < 200; ++attempt) {
    RemoveTree(runtime);
    if (!FileExists(Long(runtime))) break;
    Sleep(50);
  }
}

std::wstring World::InstalledRuntime(int javaVersion) {
  return ReadVariable(L"QV_TEST_INSTALLATIONS").value_or(L"") + L"\\" + std::to_wstring(javaVersion) + L"\\JRE";
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
  const std::wstring source = CopiedRuntime(version);
  EXPECT_TRUE(FileExists(source + L"\\bin\\server\\jvm.dll")) << ToUtf8(source);
  for (size_t slash = place.find(L'\\', 3); slash != std::wstring::npos; slash = place.find(L'\\', slash + 1)) {
    CreateDirectoryW(Long(place.substr(0, slash)).c_str(), nullptr);
  }
  CreateDirectoryW(Long(place).c_str(), nullptr);
  for (const wchar_t* part : {L"\\bin", L"\\conf", L"\\lib"}) LinkTree(source + part, place + part);
}

std::wstring World::OwnRuntimeAt(const std::wstring& place) {
  MakeRuntime(place);
  m_ownRuntime = true;
  UseRuntime(place);
  return place;
}

void World::UseRuntime(const std::wstring& home) {
  runtime = home;
  if (host.kind == Host::JavaProgram) {
    Variable(L"PATH", home + L"\\bin\\server;" + kSystemPath);
  } else if (host.kind == Host::Known) {
    PathFront(home + L"\\BIN;" + home + L"\\bin\\server;");
  } else {
    Variable(L"JAVA_HOME", home);
    PathFront(home + L"\\BIN\\SERVER;");
  }
  if (host.kind != Host::Unknown) Configure();
}

void World::Configure() {
  registry.SetList(Hive::Machine, ConfigKey(L"QVSysclasspath"), {L"C:\\product\\one.jar", L"C:\\product\\two.jar"});
  registry.SetList(Hive::Machine, ConfigKey(L"QVJVMconfig"), {L"-Xmx64m"});
  registry.SetText(Hive::Machine, ConfigKey(L"QVJVMprops"), L"any.property", L"1");
  if (host.kind != Host::Unknown) ConfigureFolders();
}

void World::Remove(const std::wstring& relative) {
  if (!m_ownRuntime) OwnRuntime();
  const std::wstring place = runtime + L"\\" + relative;
  const std::wstring aside = folder.Path(L"aside\\" + std::to_wstring(m_hidden++));
  Move(place, aside);
  // A library that was mapped cannot be deleted, but renamed.
  repairs.push_back([place, aside] {
    if (FileExists(place)) Move(place, aside + L".broken");
    Move(aside, place);
  });
}

void World::Replace(const std::wstring& relative, const std::string& content) {
  Remove(relative);
  const qv::Handle file(CreateFileW((runtime + L"\\" + relative).c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                                    FILE_ATTRIBUTE_NORMAL, nullptr));
  DWORD written = 0;
  EXPECT_NE(WriteFile(file.Get(), content.data(), static_cast<DWORD>(content.size()), &written, nullptr), FALSE);
}

void World::ReplaceByFolder(const std::wstring& relative) {
  Remove(relative);
  EXPECT_NE(CreateDirectoryW((runtime + L"\\" + relative).c_str(), nullptr), FALSE);
}

void World::Copy(const std::wstring& source, const std::wstring& relative) {
  Remove(relative);
  EXPECT_NE(CopyFileW(source.c_str(), (runtime + L"\\" + relative).c_str(), TRUE), FALSE) << GetLastError();
}

void World::Lock(const std::wstring& relative) {
  const std::wstring path = runtime + L"\\" + relative;
  m_locked.emplace_back(CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr));
  EXPECT_TRUE(m_locked.back()) << GetLastError();
  repairs.push_back([this] { m_locked.clear(); });
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
  return ProductKey() + (host.kind == Host::Unknown ? L"\\QVRTConfig\\" : L"\\QVIDEConfig\\") + list;
}

RegistrySandbox& World::Spoil() {
  repairs.push_back([this] { Configure(); });
  return registry;
}

void World::Options(const std::vector<std::wstring>& options) {
  Configure();
  Spoil().SetList(Hive::Machine, ConfigKey(L"QVJVMconfig"), options);
}

ChildOptions World::Child() const {
  ChildOptions options;
  options.environment = environment;
  options.workFolder = workFolder;
  options.limitMs = 120000;
  options.arguments = {L"machine", registry.Path(Hive::Machine), L"user", registry.Path(Hive::User),
                       L"log",     folder.Path(L"log")};
  for (const auto& [key, value] : arguments) options.arguments.insert(options.arguments.end(), {key, value});
  return options;
}

std::vector<nlohmann::json> ReportsIn(const std::string& output, std::string* others) {
  std::vector<nlohmann::json> reports;
  for (const std::string& line : LinesOf(output)) {
    nlohmann::json report = nlohmann::json::parse(line, nullptr, false);
    if (report.is_object()) {
      reports.push_back(std::move(report));
    } else if (others != nullptr) {
      *others += line + "\n";
    }
  }
  return reports;
}

std::string World::Log() const {
  const std::wstring log = folder.Path(L"log\\vm.out");
  return FileExists(log) ? ReadWholeFile(log) : "";
}

}  // namespace qvtest
