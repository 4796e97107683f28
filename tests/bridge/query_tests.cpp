// The raw environment, configuration values, the log switches, the JVM's class path and version.
#include "tests/bridge/bridge_test.h"
#include "tests/support/environment.h"
#include "tests/support/registry_sandbox.h"

namespace qvtest {
namespace {

class Queries : public BridgeTest {
 protected:
  std::wstring LogFileName() {
    auto* text = reinterpret_cast<IQvString*>(this);
    EXPECT_EQ(Api().GetLogFileName(&text), S_OK);
    return TakeText(text);
  }
};

// -- the environment --

TEST_F(Queries, TheEnvironmentComesWithoutAPendingException) {
  LeavePending();
  GiveObjectRecord(L"from before", 7);
  qv_jnienv env = nullptr;
  Watch();
  EXPECT_EQ(Api().GetJNIEnv(&env), S_OK);
  EXPECT_EQ(env, &Jni());
  EXPECT_EQ(Log(), (Lines{"slot 48 GetJNIEnv", kEnvironment, "ExceptionCheck()", "ExceptionClear()"}));
  EXPECT_EQ(Jni().Pending(), nullptr);
  EXPECT_EQ(ObjectRecord(), Record(L"from before", 7));
}

// -- the configuration --

TEST_F(Queries, TheJavaLocationsAreThoseOfTheRegistry) {
  RegistrySandbox registry;
  struct Value {
    int32_t (IQV_JavaVM::*get)(IQvString**) noexcept;
    const wchar_t* name;
  };
  TakeEnvironmentAway();
  for (const Value& value :
       {Value{&IQV_JavaVM::GetJDKLocation, L"JDKLocation"}, {&IQV_JavaVM::GetJREBinLocation, L"JREBinLocation"}}) {
    auto* text = reinterpret_cast<IQvString*>(this);
    EXPECT_EQ((Api().*value.get)(&text), E_FAIL);
    EXPECT_EQ(text, nullptr);
    registry.SetText(Hive::Machine, std::wstring(kQuovantRoot) + L"\\Java", value.name,
                     std::wstring(L"C:\\of ") + value.name);
    EXPECT_EQ((Api().*value.get)(&text), S_OK);
    EXPECT_EQ(TakeText(text), std::wstring(L"C:\\of ") + value.name);
  }
  EXPECT_EQ(Log(), (Lines{"slot 49 GetJDKLocation", "slot 49 GetJDKLocation", "slot 50 GetJREBinLocation",
                          "slot 50 GetJREBinLocation"}))
      << "no Java for it";
}

// The configuration has no log path when it begins and when it ends.
struct LogPathScope : private Pinned {
  LogPathScope() { JVMConfigInfo().SetLogFilePath(nullptr); }
  ~LogPathScope() { JVMConfigInfo().SetLogFilePath(nullptr); }
};

TEST_F(Queries, SettingALogFileNameStartsANewLogAndSwitchesItOnAndWithoutOneOrMemoryForItItIsVmOut) {
  const LogPathScope scope;
  EXPECT_EQ(LogFileName(), L"vm.out");

  TakeEnvironmentAway();
  const auto set = [&](const wchar_t* path) {
    g_bJvmLogStarted = true;
    g_bJvmLogEnabled = 0;
    EXPECT_EQ(Api().SetLogFileName(path), S_OK);
    EXPECT_FALSE(g_bJvmLogStarted);
    EXPECT_EQ(g_bJvmLogEnabled, 1);
  };
  for (const wchar_t* const path : {L"", L"C:\\second \x00E9.log", L"C:\\first.log"}) {
    set(path);
    EXPECT_EQ(LogFileName(), path);
  }
  {
    const FailCall fault(kQvshrCallCreateString, 1);
    set(L"C:\\second.log");
    EXPECT_TRUE(fault.Fired());
  }
  EXPECT_EQ(LogFileName(), L"vm.out");
}

TEST_F(Queries, TheLogSwitchTakesAnyValue) {
  TakeEnvironmentAway();
  for (const int32_t value : {0, 1, -1, 17}) {
    g_bJvmLogStarted = true;
    EXPECT_EQ(Api().SetJvmLogEnabled(value), S_OK);
    EXPECT_EQ(g_bJvmLogEnabled, value);
    EXPECT_TRUE(g_bJvmLogStarted);
  }
}

TEST_F(Queries, WhetherTheJvmWasCreatedIsTheProcesssFlag) {
  TakeEnvironmentAway();
  for (const bool created : {true, false}) {
    SetCreated(created);
    int32_t out = -1;
    EXPECT_EQ(Api().IsJVMCreated(&out), S_OK);
    EXPECT_EQ(out, created ? 1 : 0);
  }
}

TEST_F(Queries, WithoutMemoryTheConfiguredValuesAreAbsentAndNothingIsLost) {
  RegistrySandbox registry(RegistrySandbox::Override::MachineAndUser);
  const EnvironmentScope variable(L"CLASSPATH", L"C:\\from the environment.jar");
  registry.SetLocations(kQuovantRoot, L"C:\\jdk", L"C:\\jdk");

  struct Query {
    const char* name;
    int32_t (IQV_JavaVM::*get)(IQvString**) noexcept;
    int32_t withoutMemory;
  };
  for (const Query& query : {Query{"GetJDKLocation", &IQV_JavaVM::GetJDKLocation, E_FAIL},
                             {"GetJREBinLocation", &IQV_JavaVM::GetJREBinLocation, E_FAIL},
                             {"GetLogFileName", &IQV_JavaVM::GetLogFileName, S_OK},
                             {"GetClassPath", &IQV_JavaVM::GetClassPath, E_FAIL}}) {
    SCOPED_TRACE(query.name);
    SweepAllocations([&](uint64_t n, QvshrLedgerMode mode) {
      auto* text = reinterpret_cast<IQvString*>(this);
      const FailAllocation fault(n, mode);
      const int32_t status = (Api().*query.get)(&text);
      // A piece of the class path that found no memory may count as empty; what comes back is whole all the same.
      const bool answered = !fault.Fired() || (text != nullptr && query.get == &IQV_JavaVM::GetClassPath);
      EXPECT_EQ(status, answered ? S_OK : query.withoutMemory);
      EXPECT_EQ(TakeText(text) != L"<null>", answered);
      return fault.Fired();
    });
  }
}

// -- class path and version of the JVM --

struct Property {
  size_t slot;
  int32_t (IQV_JavaVM::*get)(IQvString**) noexcept;
  const char* key;
};
const Property kProperties[] = {{55, &IQV_JavaVM::GetClassPath, "java.class.path"},
                                {56, &IQV_JavaVM::GetJavaVersion, "java.version"}};

class Properties : public BridgeTest {
 protected:
  // Each property in a created JVM that knows it, on a fresh object.
  template <class Test>
  void ForEach(Test&& test) {
    for (const Property& row : kProperties) {
      SCOPED_TRACE(SlotName(row.slot));
      SetCreated(true);
      Java().properties[ToWide(row.key)] = L"the value";
      test(row);
      Renew();
    }
  }
  int32_t Get(const Property& row, std::wstring* value = nullptr) {
    auto* text = reinterpret_cast<IQvString*>(this);
    const int32_t status = (Api().*row.get)(&text);
    EXPECT_EQ(text != nullptr, status >= 0);
    const std::wstring taken = TakeText(text);
    if (value != nullptr) *value = taken;
    return status;
  }
};

TEST_F(Properties, APropertyThatIsNotThereIsAFailure) {
  ForEach([&](const Property& row) {
    Java().properties.clear();
    EXPECT_EQ(Get(row), E_FAIL);
    EXPECT_EQ(ObjectRecord(), kNoRecord);
  });
}

TEST_F(Properties, WithoutAnEnvironmentThereIsNoAnswer) {
  ForEach([&](const Property& row) {
    TakeEnvironmentAway();
    EXPECT_EQ(Get(row), E_FAIL);
    EXPECT_EQ(Log(), (Lines{SlotLine(row.slot), "slot 12 FindClass", kEnvironment, "slot 59 CaptureException"}));
    EXPECT_EQ(ObjectRecord(), Record(kNoEnvironment, 0));
  });
}

TEST_F(Properties, TheStatusOfSlot17IsHandedOn) {
  ForEach([&](const Property& row) {
    for (const int32_t status : {E_OUTOFMEMORY, S_FALSE}) {
      Watch().Replace<17>([&](void*, IQvString** text, qv_jstring) {
        *text = nullptr;
        return status < 0 || QvshrCreateString(L"from slot 17", text) < 0 ? E_OUTOFMEMORY : status;
      });
      EXPECT_EQ(Get(row), status);
    }
  });
}

TEST_F(Properties, InAJoinedJvmTheClassPathIsTheConfiguredOneAndThereIsNoVersion) {
  const RegistrySandbox registry(RegistrySandbox::Override::MachineAndUser);
  const EnvironmentScope variable(L"CLASSPATH", L"C:\\from the environment.jar");
  Java().properties[L"java.class.path"] = L"C:\\the JVM's own.jar";
  IQvString* configured = nullptr;
  EXPECT_TRUE(JVMConfigInfo().ComposeClassPath(&configured));
  Watch();
  std::wstring value;
  EXPECT_EQ(Get(kProperties[0], &value), S_OK);
  EXPECT_EQ(value, TakeText(configured));
  EXPECT_TRUE(value.ends_with(L";C:\\from the environment.jar;.")) << ToUtf8(value);
  EXPECT_EQ(Get(kProperties[1]), E_FAIL);
  EXPECT_EQ(Log(), (Lines{"slot 55 GetClassPath", "slot 56 GetJavaVersion"})) << "no Java for them";
}

TEST_F(Properties, WithoutTheDefaultTreeThereIsNoConfiguredClassPath) {
  const FailCall fault(kQvshrCallOpenDefaultTree, 1, kQvshrFailFromHere);
  EXPECT_EQ(Get(kProperties[0]), E_FAIL);
}

}  // namespace
}  // namespace qvtest
