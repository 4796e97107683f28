// A JVM that somebody else made and the service joins: by a native program under a name that the service knows or does
// not know, and by a Java program. The service creates nothing, keeps its hands off the JVM's class path, and finds the
// classes of its own one through a loader.
// The tests of one process share one service object, as a host's would; those that need a fresh loader make their own.
#include <thread>

#include "tests/real/checked_jni.h"
#include "tests/real/joined_host.h"
#include "tests/real/running_vm.h"
#include "tests/support/environment.h"
#include "tests/support/message_box.h"
#include "tests/support/product.h"
#include "tests/support/registry_sandbox.h"

namespace qvtest {
namespace {

constexpr wchar_t kJdk[] = L"C:\\some jdk";
constexpr wchar_t kListed[] = L"C:\\listed.jar";
constexpr wchar_t kOfUser[] = L"C:\\of user.jar";
constexpr int32_t kFailed = QV_CODE_CALL_FAILED;
constexpr char kToText[] = "()Ljava/lang/String;";

std::wstring Join(const std::wstring& root, const std::wstring& path) { return root + L"\\" + path; }

// The process as the service finds it, and the one start that there is. Objects live until the process ends.
struct Joined {
  std::optional<RegistrySandbox> registry;  // what a known host has configured
  std::optional<MessageBoxCatcher> boxes;
  std::wstring jreBin = InstallFolder() + L"\\JRE\\bin\\server";
  std::optional<std::wstring> pathBefore;
  int32_t status = -1;
  IQV_JavaVM* vm = nullptr;

  Joined() {
    SetEnvironmentVariableW(L"CLASSPATH", nullptr);
    SetEnvironmentVariableW(L"JAVA_HOME", nullptr);
    if (HostVm() == nullptr) return;
    if (KindOfHost() == HostKind::Known) Configure();
    pathBefore = ReadVariable(L"PATH");
    const ServiceExports& service = LoadService();
    if (service.createJavaVM == nullptr) return;
    boxes.emplace(service.module);
    status = service.createJavaVM(&vm, L"C:\\cannot be given to a running JVM.jar");
  }

  void Configure() {
    registry.emplace(RegistrySandbox::Override::MachineAndUser);
    const std::wstring java = Join(kQuovantRoot, L"Java");
    registry->SetText(Hive::Machine, java, L"JDKLocation", kJdk);
    registry->SetText(Hive::Machine, java, L"JREBinLocation", jreBin);
    registry->SetList(Hive::Machine, Join(java, L"QVIDEConfig\\QVSysclasspath"), {kListed});
    registry->SetList(Hive::User, Join(kQuovantRoot, L"ClassPath"), {kOfUser});
  }
};

Joined& Process() {
  static Joined* const joined = new Joined();
  return *joined;
}

class JoinedVm : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(Process().status, QV_S_OK);
    ASSERT_NE(Vm(), nullptr);
    ForgetRecord(Vm());
  }
  static IQV_JavaVM* Vm() { return Process().vm; }

  // The name of the class of the loader of a class.
  static std::wstring LoaderOf(qv_jclass cls) {
    const JavaClass classClass(Vm(), "java/lang/Class");
    const Local loader = classClass.Call(cls, "getClassLoader", "()Ljava/lang/ClassLoader;");
    const Local loaderClass = JavaClass(Vm(), "java/lang/Object").Call(loader, "getClass", "()Ljava/lang/Class;");
    return TextOf(Vm(), classClass.Call(loaderClass, "getName", kToText));
  }
  static bool Same(qv_jobject left, qv_jobject right) {
    const JavaClass objectClass(Vm(), "java/lang/Object");
    int32_t same = 0;
    EXPECT_TRUE(Ok(Vm(), Vm()->CallBooleanMethod(&same, objectClass, left, "equals", "(Ljava/lang/Object;)Z", right)));
    return same == 1;
  }
};

TEST_F(JoinedVm, IsTheHostsAndNotCreated) {
  EXPECT_FALSE(CreatedTheJvm(Vm()));
  IQvString* version = nullptr;
  EXPECT_EQ(Vm()->GetJavaVersion(&version), QV_E_FAIL);
  EXPECT_EQ(version, nullptr);
  void* env = nullptr;
  EXPECT_EQ(HostVm()->GetEnv(&env, JNI_VERSION_1_8), JNI_OK);
  EXPECT_EQ(QV_AcquireThreadEnv(Vm()), env);
}

TEST_F(JoinedVm, ASecondObjectWithAClassPathGetsNoNote) {
  IQV_JavaVM* second = nullptr;
  EXPECT_EQ(LoadService().createJavaVM(&second, L"C:\\late.jar"), QV_S_OK);
  ASSERT_NE(second, nullptr);
  EXPECT_EQ(second->Release(), 0U);
}

TEST_F(JoinedVm, SearchPathIsPreparedAsForAnyHostOfItsKind) {
  const std::wstring before = Process().pathBefore.value_or(L"");
  switch (KindOfHost()) {
    case HostKind::Unknown:
      EXPECT_EQ(ReadVariable(L"PATH"), InstallFolder() + L"\\JRE\\BIN\\SERVER;" + before);
      break;
    case HostKind::Known:
      EXPECT_EQ(ReadVariable(L"PATH"), std::wstring(kJdk) + L"\\BIN;" + Process().jreBin + L";" + before);
      break;
    case HostKind::Java:
      EXPECT_EQ(ReadVariable(L"PATH"), before);
      break;
  }
}

TEST_F(JoinedVm, ClassPathIsTheConfiguredOne) {
  const std::wstring host = InstallFolder() + (KindOfHost() == HostKind::Java ? L"\\JRE\\bin" : L"");
  std::wstring expected = DefaultArchives(host) + L";.";
  if (KindOfHost() == HostKind::Known) {
    expected = L"C:\\some jdk\\JRE\\LIB\\rt.jar;C:\\some jdk\\LIB\\tools.jar;" + DefaultArchives(host) + L";" +
               kListed + L";" + kOfUser + L";.";
  }
  EXPECT_EQ(Ask(Vm(), &IQV_JavaVM::GetClassPath), expected);
}

TEST_F(JoinedVm, ClassesOfTheProgramComeFromTheProgram) {
  const JavaClass inside(Vm(), "program/Inside");
  EXPECT_EQ(TextOf(Vm(), inside.CallStatic("where", "()Ljava/lang/Object;")), L"inside");
  EXPECT_NE(LoaderOf(inside), L"java.net.URLClassLoader");
}

TEST_F(JoinedVm, ClassesOutsideTheProgramComeFromTheServicesClassPath) {
  const JavaClass greeter(Vm(), "outside/Greeter");
  EXPECT_EQ(RecordOf(Vm()), std::nullopt);
  EXPECT_EQ(LoaderOf(greeter), L"java.net.URLClassLoader");
  const Local text = greeter.CallStatic("greet", "(Ljava/lang/String;)Ljava/lang/Object;", NewString(Vm(), L"world"));
  EXPECT_EQ(TextOf(Vm(), text), L"Hello world");
  EXPECT_EQ(TextOf(Vm(), greeter.Call(greeter.New(), "name", kToText)), L"base of greeter");
  int32_t seven = 0;
  EXPECT_TRUE(Ok(Vm(), Vm()->GetStaticIntField(&seven, greeter, "seven")));
  EXPECT_EQ(seven, 7);
}

TEST_F(JoinedVm, OneLoaderServesEveryLookUpOfAnObject) {
  const Local greeter = FindClass(Vm(), "outside/Greeter");
  const Local again = FindClass(Vm(), "outside/Greeter");
  EXPECT_TRUE(Same(greeter, again));
  IQV_JavaVM* const other = NewService();
  {
    const Local ofOther = FindClass(other, "outside/Greeter");
    EXPECT_FALSE(Same(greeter, ofOther)) << "another object has another loader";
  }
  EXPECT_EQ(other->Release(), 0U);
  // Another thread finds the same class.
  qv_jobject global = nullptr;
  std::thread([&] { global = NewGlobal(Vm(), FindClass(Vm(), "outside/Greeter")); }).join();
  EXPECT_TRUE(Same(greeter, global));
  EXPECT_TRUE(Ok(Vm(), Vm()->DeleteGlobalRef(global)));
}

TEST_F(JoinedVm, TheLoadersRecordStandsForAMissingClass) {
  Local cls(Vm());
  const Record record{L"java.lang.ClassNotFoundException: no.such.Thing", kFailed};
  EXPECT_TRUE(Fails(Vm(), Vm()->FindClass(cls.Out(), "no/such/Thing"), record));
  EXPECT_EQ(cls.Get(), nullptr);
  EXPECT_EQ(Vm()->FindClass(cls.Out(), "program/Inside"), QV_S_OK);
  EXPECT_EQ(RecordOf(Vm()), record) << "a class of the program leaves it alone";

  EXPECT_TRUE(
      Fails(Vm(), Vm()->FindClass(cls.Out(), "another"), {L"java.lang.ClassNotFoundException: another", kFailed}));
  FindClass(Vm(), "outside/Base");
  EXPECT_EQ(RecordOf(Vm()), std::nullopt) << "the loader's success forgot it";
}

TEST_F(JoinedVm, WithoutAConfiguredClassPathTheMessageSaysSo) {
  if (KindOfHost() != HostKind::Known) {
    // Other hosts always have the built-in class path.
    EXPECT_TRUE(Process().boxes->Shown().empty());
    return;
  }
  IQV_JavaVM* const other = NewService();
  const std::wstring list = Join(kQuovantRoot, L"Java\\QVIDEConfig\\QVSysclasspath");
  Process().registry->DeleteKey(Hive::Machine, list);
  EXPECT_TRUE(Fails(other, other->FindClass(Local(other).Out(), "outside/Greeter"),
                    {L"Unable to find java outside/Greeter class. Check CLASSPATH.", 0}));
  const ShownBox box{
      L"Error initializing Java VM.\nCould not find Registry key:\n"
      L"HKEY_LOCAL_MACHINE\\Software\\Harlowe\\Quovant\\19.0\\Java\\QVIDEConfig\\QVSysclasspath",
      L"Quovant Java VM Service", MB_ICONERROR, false};
  EXPECT_EQ(Process().boxes->Shown(), std::vector<ShownBox>{box});
  Process().registry->SetList(Hive::Machine, list, {kListed});
  FindClass(other, "outside/Greeter");
  EXPECT_EQ(other->Release(), 0U);
}

TEST_F(JoinedVm, AThreadThatEndsIsDetachedUnlessTheHostIsJava) {
  const int32_t before = ThreadsInJava(Vm());
  int32_t during = 0;
  std::thread([&] { during = ThreadsInJava(Vm()); }).join();
  EXPECT_EQ(during, before + 1);
  const int32_t stay = KindOfHost() == HostKind::Java ? 1 : 0;
  EXPECT_EQ(ThreadsInJava(Vm()), before + stay);
}

TEST_F(JoinedVm, AnObjectWithALoaderMayBeReleasedWhereItWasNeverUsed) {
  IQV_JavaVM* const other = NewService();
  { const Local greeter = FindClass(other, "outside/Greeter"); }
  std::thread([&] { EXPECT_EQ(other->Release(), 0U); }).join();
  FindClass(Vm(), "outside/Greeter");
}

// The JVM of a Java program is not checked.
class JoinedCheckedVm : public JoinedVm {
 protected:
  void SetUp() override {
    if (KindOfHost() == HostKind::Java) GTEST_FAIL() << "a native program's test";
    JoinedVm::SetUp();
  }
  template <class Work>
  JniReports ReportsOf(Work&& work) {
    TakeJvmOutput();
    std::thread(work).join();
    return ReportsIn(TakeJvmOutput());
  }
};

TEST_F(JoinedCheckedVm, ReportsExactlyWhatTheInterfacePromises) {
  IQV_JavaVM* const fresh = NewService();
  EXPECT_EQ(ReportsOf([&] { FindClass(fresh, "outside/Greeter"); }), JniReports{}) << "the loader is built";
  EXPECT_EQ(ReportsOf([&] { FindClass(fresh, "outside/Base"); }), JniReports{}) << "and used again";
  EXPECT_EQ(ReportsOf([&] { EXPECT_EQ(fresh->FindClass(Local(fresh).Out(), "no/such/Thing"), QV_E_FAIL); }),
            (JniReports{{kTextUnchecked, 1}}));
  EXPECT_EQ(ReportsOf([&] { EXPECT_EQ(fresh->Release(), 0U); }), JniReports{});
}

class JoinedReferences : public JoinedCheckedVm {
 protected:
  template <class Work>
  static int LeftBy(Work&& work) {
    auto* const env = static_cast<JNIEnv*>(QV_AcquireThreadEnv(Vm()));
    const ReportWatch watch{[] { TakeJvmOutput(); }, [] { return !TakeJvmOutput().empty(); }};
    return RoomAfter(env, watch, [] {}) - RoomAfter(env, watch, work);
  }
};

TEST_F(JoinedReferences, LookUpsThroughTheLoaderLeaveExactlySoMany) {
  IQV_JavaVM* const fresh = NewService();
  // The three classes that building needs, and the loader's class at every look-up.
  EXPECT_EQ(LeftBy([&] { FindClass(fresh, "outside/Greeter"); }), 3 + 1);
  EXPECT_EQ(LeftBy([&] { FindClass(fresh, "outside/Greeter"); }), 1);
  EXPECT_EQ(LeftBy([&] { FindClass(fresh, "program/Inside"); }), 0);
  EXPECT_EQ(LeftBy([&] { EXPECT_EQ(fresh->FindClass(Local(fresh).Out(), "no/such/Thing"), QV_E_FAIL); }),
            1 + kCaptured);
  EXPECT_EQ(fresh->Release(), 0U);
}

}  // namespace
}  // namespace qvtest
