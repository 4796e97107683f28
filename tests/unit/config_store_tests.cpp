// The readers of the host product's registry keys, against the real registry with hives of the test's own.
#include <atomic>
#include <chrono>
#include <future>
#include <thread>
#include <vector>

#include "base/process_end.h"
#include "store/config_store.h"
#include "tests/support/message_box.h"
#include "tests/unit/fake_key.h"
#include "tests/unit/unit_fixture.h"

namespace qvtest {
namespace {

class ConfigStoreTest : public LedgerTest {
 protected:
  using Reader = bool (CQV_JVMConfigInfo::*)(IQvString**) noexcept;
  struct Location {
    const wchar_t* valueName;
    Reader read;
  };
  static constexpr Location kLocations[] = {{L"JDKLocation", &CQV_JVMConfigInfo::ReadJDKLocation},
                                            {L"JREBinLocation", &CQV_JVMConfigInfo::ReadJREBinLocation}};

  std::wstring Read(const Location& location) {
    return ResultAndText([&](IQvString** text) { return ((*m_config).*location.read)(text); });
  }
  static std::wstring JavaKey(const wchar_t* root = kQuovantRoot) { return std::wstring(root) + L"\\Java"; }

  MessageBoxCatcher m_boxes;
  RegistrySandbox m_registry{RegistrySandbox::Override::MachineAndUser};
  ConfigObject m_config;
};

// ---- the root key ----

TEST_F(ConfigStoreTest, OpenRootKeyOpensTheRootOfTheHostInTheHiveAsked) {
  const struct {
    bool quovant;
    bool loomhall;
    const wchar_t* root;
  } rows[] = {{true, false, kQuovantRoot},
              {true, true, kLoomhallRoot},
              {false, false, kTableroRoot},
              {false, true, kTableroRoot}};
  for (const auto& row : rows) {
    for (const bool machine : {true, false}) {
      SCOPED_TRACE(ToUtf8(row.root) + (machine ? " of the machine" : " of the user"));
      HKEY const hive = machine ? HKEY_LOCAL_MACHINE : HKEY_CURRENT_USER;
      m_config->m_bQuovantHost = row.quovant;
      m_config->m_bLoomhallHost = row.loomhall;
      IQvRegKey* key = nullptr;
      m_config->m_szRegistryRoot[0] = L'\0';
      EXPECT_FALSE(m_config->OpenRootKey(hive, 0x20019, &key)) << "it is not there yet";
      EXPECT_EQ(key, nullptr);
      EXPECT_STREQ(m_config->m_szRegistryRoot, row.root);
      m_registry.CreateKey(machine ? Hive::Machine : Hive::User, row.root);
      EXPECT_TRUE(m_config->OpenRootKey(hive, 0x20019, &key));
      ASSERT_NE(key, nullptr);
      EXPECT_EQ(key->Release(), 0u);
      m_registry.DeleteKey(machine ? Hive::Machine : Hive::User, row.root);
    }
  }
}

TEST_F(ConfigStoreTest, OpenRootKeyIsTrueOnlyWhenTheHostLibraryAnswersExactly0) {
  FakeKey root;
  for (const int32_t status : {1, 2, -1, QV_E_FAIL}) {
    const FakeRegistry registry(root, status);
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

TEST_F(ConfigStoreTest, ARootThatComesWithAnotherStatusIsNotOpenAndIsReleased) {
  static FakeKey root;
  const auto open = [](HKEY, IQvString*, uint32_t, IQvRegKey** out) {
    root.AddRef();
    *out = &root;
    return int32_t{1};
  };
  const ImportHook registry(nullptr, "qvshr.dll", 4, reinterpret_cast<void*>(+open));
  {
    qv::KeyRef key;
    EXPECT_FALSE(qv::OpenRegistryRoot(HKEY_LOCAL_MACHINE, kQuovantRoot, 0x20019, key));
  }
  for (const Location& location : kLocations) EXPECT_EQ(Read(location), L"false: <null>");
  EXPECT_EQ(root.references, 1u);
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
  const struct {
    HostKind host;
    const wchar_t* root;
  } rows[] = {{HostKind::Unknown, kQuovantRoot},
              {HostKind::Quovant, kQuovantRoot},
              {HostKind::Tablero, kTableroRoot},
              {HostKind::Loomhall, kLoomhallRoot}};
  for (const auto& row : rows) {
    m_registry.SetText(Hive::Machine, JavaKey(row.root), L"JDKLocation", std::wstring(L"C:\\jdk of ") + row.root);
    m_registry.SetText(Hive::Machine, JavaKey(row.root), L"JREBinLocation", std::wstring(L"C:\\jre of ") + row.root);
  }
  for (const auto& row : rows) {
    SetHost(*m_config, row.host);
    EXPECT_EQ(Read(kLocations[0]), std::wstring(L"true: C:\\jdk of ") + row.root);
    EXPECT_EQ(Read(kLocations[1]), std::wstring(L"true: C:\\jre of ") + row.root);
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
  EXPECT_EQ(m_boxes.Shown(), std::vector<ShownBox>{});
}

TEST_F(ConfigStoreTest, ALocationIsReadFromTheMachineAndNeverFromTheUser) {
  m_registry.SetText(Hive::User, JavaKey(), L"JDKLocation", L"C:\\users");
  EXPECT_EQ(Read(kLocations[0]), L"false: <null>");
}

TEST_F(ConfigStoreTest, ALocationIsTakenFromWhateverBytesTheRegistryHolds) {
  for (const RegistryBytes& row : kRegistryBytes) {
    for (const Location& location : kLocations) {
      m_registry.SetRaw(Hive::Machine, JavaKey(), location.valueName, row.type, row.bytes);
      EXPECT_EQ(Read(location), row.text ? L"true: " + *row.text : L"false: <null>") << row.name;
    }
  }
}

TEST_F(ConfigStoreTest, ALocationOfOneMebibyteIsReadWhole) {
  const std::wstring text(512 * 1024, L'\x4E2D');
  for (const Location& location : kLocations) {
    m_registry.SetText(Hive::Machine, JavaKey(), location.valueName, text);
    EXPECT_TRUE(Read(location) == L"true: " + text) << ToUtf8(location.valueName);
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
  EXPECT_EQ(TextOf(m_config->m_pJDKLocation), L"kept");
  EXPECT_EQ(TextOf(m_config->m_pJREBinLocation), L"kept");
}

TEST_F(ConfigStoreTest, EveryReaderOfAKeptLocationGetsAnObjectOfItsOwn) {
  m_config->m_bRuntimeFound = true;
  m_registry.SetText(Hive::Machine, JavaKey(), L"JDKLocation", L"kept");
  IQvString* first = nullptr;
  IQvString* second = nullptr;
  ASSERT_TRUE(m_config->ReadJDKLocation(&first));
  ASSERT_TRUE(m_config->ReadJDKLocation(&second));
  EXPECT_NE(first, second);
  EXPECT_NE(first, m_config->m_pJDKLocation);
  EXPECT_EQ(first->Release(), 0u);
  EXPECT_EQ(second->Release(), 0u);
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
  const struct {
    HostKind host;
    const wchar_t* root;
  } rows[] = {
      {HostKind::Quovant, kQuovantRoot}, {HostKind::Tablero, kTableroRoot}, {HostKind::Loomhall, kLoomhallRoot}};
  for (const auto& row : rows) {
    m_registry.SetList(Hive::User, std::wstring(row.root) + L"\\ClassPath", {row.root, L"C:\\b.jar"});
    m_registry.SetList(Hive::Machine, std::wstring(row.root) + L"\\ClassPath", {L"the machine's"});
  }
  for (const auto& row : rows) {
    SetHost(*m_config, row.host);
    IQvString* list = nullptr;
    m_config->ReadUserClassPath(&list);
    EXPECT_EQ(TakeText(list), std::wstring(row.root) + L";C:\\b.jar");
  }
}

TEST_F(ConfigStoreTest, AUserClassPathThatIsMissingIsEmptyAndQuiet) {
  IQvString* list = nullptr;
  m_config->ReadUserClassPath(&list);
  EXPECT_EQ(TakeText(list), L"");
  m_registry.CreateKey(Hive::User, kQuovantRoot);
  m_config->ReadUserClassPath(&list);
  EXPECT_EQ(TakeText(list), L"");
  m_registry.SetText(Hive::User, std::wstring(kQuovantRoot) + L"\\ClassPath", L"0", L"no count");
  m_config->ReadUserClassPath(&list);
  EXPECT_EQ(TakeText(list), L"");
  EXPECT_EQ(m_boxes.Shown(), std::vector<ShownBox>{});
}

TEST_F(ConfigStoreTest, TheUserClassPathIsOpenedWithReadAccess) {
  FakeKey key;
  key.values[L"Count"].text = L"1";
  key.values[L"0"].text = L"a";
  const FakeRegistry registry(key);
  IQvString* list = nullptr;
  m_config->ReadUserClassPath(&list);
  EXPECT_EQ(TakeText(list), L"a");
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
  std::promise<void> held;
  std::promise<void> gone;
  FakeString stored(L"log");
  std::atomic<bool> first = true;
  stored.onShare = [&] {
    if (!first.exchange(false)) return;
    held.set_value();
    gone.get_future().wait();
  };
  m_config->SetLogFilePath(&stored);
  const auto readLog = [&] {
    IQvString* path = nullptr;
    m_config->GetLogFilePath(&path);
    return TakeText(path);
  };
  std::thread holder(readLog);
  held.get_future().wait();
  EndOfProcess::s_ending = true;
  std::atomic<int> returned = 0;
  auto atTheEnd = std::async(std::launch::async, [&] {
    EXPECT_EQ(readLog(), L"log");
    ++returned;
    EXPECT_EQ(Read(kLocations[0]), L"true: C:\\jdk");
    ++returned;
    m_config->SetLogFilePath(nullptr);
    ++returned;
  });
  atTheEnd.wait_for(std::chrono::seconds(20));
  EXPECT_EQ(returned, 3) << "GetLogFilePath, ReadJDKLocation, SetLogFilePath: the next one waits";
  gone.set_value();
  holder.join();
  atTheEnd.wait();
  EndOfProcess::s_ending = false;
}

// ---- the log path ----

TEST_F(ConfigStoreTest, TheLogPathIsHandedOutAsANewObjectAndSettingOneReleasesTheOneBefore) {
  const auto logPath = [&] {
    IQvString* path = nullptr;
    m_config->GetLogFilePath(&path);
    return TakeText(path);
  };
  EXPECT_EQ(logPath(), L"vm.out") << "no path is stored";
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
  EXPECT_EQ(logPath(), L"vm.out") << "no path is stored now";
}

}  // namespace
}  // namespace qvtest
