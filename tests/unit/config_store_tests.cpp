// The readers of the host product's registry keys, against the real registry with hives of the test's own.
#include "base/process_end.h"
#include "store/config_store.h"
#include "tests/support/threads.h"
#include "tests/unit/fake_key.h"
#include "tests/unit/unit_fixture.h"

namespace qvtest {
namespace {

class ConfigStoreTest : public ConfigTest {
 protected:
  using Reader = bool (CQV_JVMConfigInfo::*)(IQvString**) noexcept;
  struct Location {
    const wchar_t* valueName;
    Reader read;
  };
  static constexpr Location kLocations[] = {{L"JDKLocation", &CQV_JVMConfigInfo::ReadJDKLocation},
                                            {L"JREBinLocation", &CQV_JVMConfigInfo::ReadJREBinLocation}};

  std::wstring Read(const Location& location) { return Given(*m_config, location.read); }
  std::wstring UserClassPath() { return Given(*m_config, &CQV_JVMConfigInfo::ReadUserClassPath); }
  std::wstring LogPath() { return Given(*m_config, &CQV_JVMConfigInfo::GetLogFilePath); }
  static std::wstring JavaKey(const wchar_t* root = kQuovantRoot) { return std::wstring(root) + L"\\Java"; }
};

// ---- the root key ----

constexpr std::pair<HostKind, const wchar_t*> kRoots[] = {{HostKind::Unknown, kQuovantRoot},
                                                          {HostKind::Quovant, kQuovantRoot},
                                                          {HostKind::Tablero, kTableroRoot},
                                                          {HostKind::Loomhall, kLoomhallRoot}};

TEST_F(ConfigStoreTest, OpenRootKeyOpensTheRootOfTheHostInTheHiveAsked) {
  for (const auto& [host, root] : kRoots) {
    for (const bool machine : {true, false}) {
      SCOPED_TRACE(ToUtf8(root) + (machine ? " of the machine" : " of the user"));
      HKEY const hive = machine ? HKEY_LOCAL_MACHINE : HKEY_CURRENT_USER;
      SetHost(*m_config, host);
      IQvRegKey* key = nullptr;
      m_config->m_szRegistryRoot[0] = L'\0';
      EXPECT_FALSE(m_config->OpenRootKey(hive, 0x20019, &key)) << "it is not there yet";
      EXPECT_EQ(key, nullptr);
      EXPECT_STREQ(m_config->m_szRegistryRoot, root);
      m_registry.CreateKey(machine ? Hive::Machine : Hive::User, root);
      EXPECT_TRUE(m_config->OpenRootKey(hive, 0x20019, &key));
      ASSERT_NE(key, nullptr);
      EXPECT_EQ(key->Release(), 0u);
      m_registry.DeleteKey(machine ? Hive::Machine : Hive::User, root);
    }
  }
}

TEST_F(ConfigStoreTest, OpenRootKeyIsTrueOnlyWhenTheHostLibraryAnswersExactly0) {
  FakeKey root;
  for (const int32_t status : {1, 2, -1, QV_E_FAIL}) {
    {
      const FakeRegistry registry(root, status);
      qv::KeyRef key;
      EXPECT_FALSE(qv::OpenRegistryRoot(HKEY_LOCAL_MACHINE, kQuovantRoot, 0x20019, key)) << status;
      for (const Location& location : kLocations) EXPECT_EQ(Read(location), L"false: <null>");
    }
    EXPECT_EQ(root.references, 1u) << "a root that comes with another status is released";
    const FakeRegistry none(nullptr, status);
    IQvRegKey* key = nullptr;
    EXPECT_FALSE(m_config->OpenRootKey(HKEY_LOCAL_MACHINE, 0x20019, &key)) << status;
    EXPECT_EQ(key, nullptr) << status;
  }
  const FakeRegistry registry(root);
  IQvRegKey* key = nullptr;
  EXPECT_TRUE(m_config->OpenRootKey(HKEY_CURRENT_USER, 0x1234, &key));
  EXPECT_EQ(key, &root);
  EXPECT_EQ(root.references, 2u);
  EXPECT_EQ(registry.Requests(), (std::vector<FakeRegistry::Request>{{HKEY_CURRENT_USER, kQuovantRoot, 0x1234}}));
}

TEST_F(ConfigStoreTest, ARootThatOpensWithoutAnObjectIsNotOpen) {
  const FakeRegistry registry(nullptr, 0);
  IQvRegKey* key = nullptr;
  EXPECT_FALSE(m_config->OpenRootKey(HKEY_LOCAL_MACHINE, 0x20019, &key));
  EXPECT_EQ(key, nullptr);
  for (const Location& location : kLocations) EXPECT_EQ(Read(location), L"false: <null>");
}

// ---- JDKLocation and JREBinLocation ----

TEST_F(ConfigStoreTest, EachLocationIsReadFromTheKeyJavaBelowTheHostsRoot) {
  for (const auto& [host, root] : kRoots) {
    m_registry.SetLocations(root, std::wstring(L"C:\\jdk of ") + root, std::wstring(L"C:\\jre of ") + root);
  }
  // The user's are not looked at.
  m_registry.SetText(Hive::User, JavaKey(), L"JDKLocation", L"C:\\users");
  for (const auto& [host, root] : kRoots) {
    SetHost(*m_config, host);
    EXPECT_EQ(Read(kLocations[0]), std::wstring(L"true: C:\\jdk of ") + root);
    EXPECT_EQ(Read(kLocations[1]), std::wstring(L"true: C:\\jre of ") + root);
    m_registry.DeleteKey(Hive::Machine, root);
    EXPECT_EQ(Read(kLocations[0]), L"false: <null>");
    m_registry.SetLocations(root, std::wstring(L"C:\\jdk of ") + root, std::wstring(L"C:\\jre of ") + root);
  }
}

TEST_F(ConfigStoreTest, AMissingRootKeyOrValueIsFalseAndShowsNoMessageBox) {
  for (const Location& location : kLocations) {
    SCOPED_TRACE(ToUtf8(location.valueName));
    IQvString* text = reinterpret_cast<IQvString*>(uintptr_t{0x5A5A});
    EXPECT_FALSE(((*m_config).*location.read)(&text)) << "no root";
    m_registry.CreateKey(Hive::Machine, kQuovantRoot);
    EXPECT_FALSE(((*m_config).*location.read)(&text)) << "the key \"Java\" is missing";
    m_registry.CreateKey(Hive::Machine, JavaKey());
    EXPECT_FALSE(((*m_config).*location.read)(&text)) << "the value is missing";
    EXPECT_EQ(text, reinterpret_cast<IQvString*>(uintptr_t{0x5A5A})) << "written although it failed";
    EXPECT_STREQ(m_config->m_szRegistryRoot, kQuovantRoot);
    m_registry.DeleteKey(Hive::Machine, kQuovantRoot);
  }
}

TEST_F(ConfigStoreTest, ALocationIsTakenFromWhateverBytesTheRegistryHolds) {
  for (const RegistryBytes& row : kRegistryBytes) {
    for (const Location& location : kLocations) {
      m_registry.SetRaw(Hive::Machine, JavaKey(), location.valueName, row.type, row.bytes);
      EXPECT_EQ(Read(location), row.text ? L"true: " + *row.text : L"false: <null>") << row.name;
    }
  }
  const std::wstring mebibyte(512 * 1024, L'\x4E2D');
  for (const Location& location : kLocations) {
    m_registry.SetText(Hive::Machine, JavaKey(), location.valueName, mebibyte);
    EXPECT_TRUE(Read(location) == L"true: " + mebibyte) << ToUtf8(location.valueName);
  }
}

TEST_F(ConfigStoreTest, BeforeARuntimeIsFoundEveryReadAsksTheRegistryAfresh) {
  for (const Location& location : kLocations) {
    m_registry.SetText(Hive::Machine, JavaKey(), location.valueName, L"first");
    EXPECT_EQ(Read(location), L"true: first");
    m_registry.SetText(Hive::Machine, JavaKey(), location.valueName, L"second");
    EXPECT_EQ(Read(location), L"true: second");
    m_registry.DeleteValue(Hive::Machine, JavaKey(), location.valueName);
    EXPECT_EQ(Read(location), L"false: <null>");
  }
  EXPECT_EQ(m_config->m_pJDKLocation, nullptr);
  EXPECT_EQ(m_config->m_pJREBinLocation, nullptr);
}

TEST_F(ConfigStoreTest, OnceARuntimeIsFoundTheFirstSuccessfulReadIsKept) {
  m_config->m_bRuntimeFound = true;
  for (const Location& location : kLocations) {
    EXPECT_EQ(Read(location), L"false: <null>") << "a failure is not kept";
    m_registry.SetText(Hive::Machine, JavaKey(), location.valueName, L"kept");
    EXPECT_EQ(Read(location), L"true: kept");
    m_registry.SetText(Hive::Machine, JavaKey(), location.valueName, L"later");
    EXPECT_EQ(Read(location), L"true: kept");
    m_registry.DeleteKey(Hive::Machine, kQuovantRoot);
    m_config->m_szRegistryRoot[0] = L'\0';
    EXPECT_EQ(Read(location), L"true: kept");
    EXPECT_STREQ(m_config->m_szRegistryRoot, L"") << "the registry was asked although a value is kept";
  }
  IQvString* first = nullptr;
  IQvString* second = nullptr;
  ASSERT_TRUE(m_config->ReadJDKLocation(&first));
  ASSERT_TRUE(m_config->ReadJDKLocation(&second));
  EXPECT_NE(first, second) << "every reader gets an object of its own";
  EXPECT_NE(first, m_config->m_pJDKLocation);
  EXPECT_EQ(first->Release(), 0u);
  EXPECT_EQ(second->Release(), 0u);
  EXPECT_EQ(TextOf(m_config->m_pJDKLocation), L"kept");
  EXPECT_EQ(TextOf(m_config->m_pJREBinLocation), L"kept");
}

TEST_F(ConfigStoreTest, ALocationIsAskedForWithReadAccessAndEveryKeyIsReleased) {
  FakeKey key;
  key.values[L"JDKLocation"].text = L"C:\\jdk";
  const FakeRegistry registry(key);
  EXPECT_EQ(Read(kLocations[0]), L"true: C:\\jdk");
  EXPECT_EQ(registry.Requests(), (std::vector<FakeRegistry::Request>{{HKEY_LOCAL_MACHINE, kQuovantRoot, 0x20019}}));
  EXPECT_EQ(key.opened, (std::vector<std::pair<std::wstring, uint32_t>>{{L"Java", 0x20019}}));
  EXPECT_EQ(key.queried, (std::vector<std::wstring>{L"JDKLocation"}));
  EXPECT_EQ(key.references, 1u);
}

TEST_F(ConfigStoreTest, AValueThatTheHostLibraryFindsWithoutAnObjectIsTrueWithoutAText) {
  FakeKey key;
  key.values[L"JDKLocation"].status = QV_S_OK;
  key.values[L"JREBinLocation"].status = 1;
  const FakeRegistry registry(key);
  for (const Location& location : kLocations) EXPECT_EQ(Read(location), L"true: <null>") << ToUtf8(location.valueName);
}

// ---- the user's class path ----

TEST_F(ConfigStoreTest, TheUserClassPathIsTheListBelowTheHostsRootInTheUsersHive) {
  for (const auto& [host, root] : kRoots) {
    m_registry.SetList(Hive::User, std::wstring(root) + L"\\ClassPath", {root, L"C:\\b.jar"});
    m_registry.SetList(Hive::Machine, std::wstring(root) + L"\\ClassPath", {L"the machine's"});
  }
  for (const auto& [host, root] : kRoots) {
    SetHost(*m_config, host);
    EXPECT_EQ(UserClassPath(), std::wstring(root) + L";C:\\b.jar");
  }
}

TEST_F(ConfigStoreTest, AUserClassPathThatIsMissingIsEmptyAndQuiet) {
  EXPECT_EQ(UserClassPath(), L"");
  m_registry.CreateKey(Hive::User, kQuovantRoot);
  EXPECT_EQ(UserClassPath(), L"");
  m_registry.SetText(Hive::User, std::wstring(kQuovantRoot) + L"\\ClassPath", L"0", L"no count");
  EXPECT_EQ(UserClassPath(), L"");
}

TEST_F(ConfigStoreTest, TheUserClassPathIsOpenedWithReadAccess) {
  FakeKey key;
  key.values = {{L"Count", {0, L"1"}}, {L"0", {0, L"a"}}};
  const FakeRegistry registry(key);
  EXPECT_EQ(UserClassPath(), L"a");
  EXPECT_EQ(registry.Requests(), (std::vector<FakeRegistry::Request>{{HKEY_CURRENT_USER, kQuovantRoot, 0x20019}}));
  EXPECT_EQ(key.opened, (std::vector<std::pair<std::wstring, uint32_t>>{{L"ClassPath", 0x20019}}));
}

// ---- the process's end ----

// The service looks up once how to ask whether the process ends: from the program's start it finds this.
class EndOfProcess : public testing::Environment {
 public:
  void SetUp() override {
    const ImportHook lookUp(
        nullptr, "GetProcAddress", +[](HMODULE, LPCSTR) WINAPI {
          return reinterpret_cast<FARPROC>(
              reinterpret_cast<void*>(+[]() -> BOOLEAN { return s_ending ? TRUE : FALSE; }));
        });
    (void)qv::ProcessIsEnding();
  }
  static inline std::atomic<bool> s_ending = false;
};
const auto* const g_endOfProcess = testing::AddGlobalTestEnvironment(new EndOfProcess);

TEST_F(ConfigStoreTest, AtTheProcessesEndNobodyWaitsForAThreadThatIsGoneWithTheLock) {
  m_config->m_bRuntimeFound = true;
  m_registry.SetText(Hive::Machine, JavaKey(), L"JDKLocation", L"C:\\jdk");
  const Event held;
  const Event gone;
  FakeString stored(L"log");
  std::atomic<bool> first = true;
  stored.onShare = [&] {
    if (!first.exchange(false)) return;
    held.Set();
    gone.Wait();
  };
  m_config->SetLogFilePath(&stored);
  const HostThread holder([&] { LogPath(); });
  held.Wait();
  EndOfProcess::s_ending = true;
  std::atomic<int> returned = 0;
  const HostThread atTheEnd([&] {
    EXPECT_EQ(LogPath(), L"log");
    ++returned;
    EXPECT_EQ(Read(kLocations[0]), L"true: C:\\jdk");
    ++returned;
    m_config->SetLogFilePath(nullptr);
    ++returned;
  });
  atTheEnd.Join(20000);
  EXPECT_EQ(returned, 3) << "GetLogFilePath, ReadJDKLocation, SetLogFilePath: the next one waits";
  gone.Set();
  holder.Join();
  atTheEnd.Join();
  EndOfProcess::s_ending = false;
}

// ---- the log path ----

TEST_F(ConfigStoreTest, TheLogPathIsHandedOutAsANewObjectAndSettingOneReleasesTheOneBefore) {
  EXPECT_EQ(LogPath(), L"vm.out") << "no path is stored";
  FakeString first(L"D:\\log.txt");
  FakeString second(L"second");
  m_config->SetLogFilePath(&first);
  EXPECT_EQ(first.references, 1u) << "the caller's reference is taken over, none is added";
  IQvString* path = nullptr;
  m_config->GetLogFilePath(&path);
  EXPECT_NE(path, &first);
  EXPECT_EQ(TakeText(path), L"D:\\log.txt");
  EXPECT_EQ(first.references, 1u);
  m_config->SetLogFilePath(&second);
  EXPECT_EQ(first.references, 0u);
  EXPECT_EQ(second.references, 1u);
  m_config->SetLogFilePath(nullptr);
  EXPECT_EQ(second.references, 0u);
  EXPECT_EQ(LogPath(), L"vm.out") << "no path is stored now";
}

}  // namespace
}  // namespace qvtest
