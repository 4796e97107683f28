// The class loader over the service's own class path, which a joined JVM gets at the first class it does not know.
#include <algorithm>

#include "tests/bridge/bridge_test.h"

namespace qvtest {
namespace {

class Loader : public BridgeTest {
 protected:
  Loader() { SetClassPath(L"C:\\a.jar"); }

  void SetClassPath(const std::wstring& text, int32_t status = S_OK) {
    ServeClassPath(text, status);
    Java().answers["<init>"] = KeepUrls;
    m_urls.clear();
  }
  // Looks a class up that nobody knows, or that only the loader knows.
  int32_t Find(const char* name = "no/Such") {
    qv_jclass found = nullptr;
    const int32_t status = Api().FindClass(&found, name);
    EXPECT_EQ(found != nullptr, status >= 0);
    return status;
  }
  // What the array held when the loader was made of it; "null" for an empty place.
  const Lines& Urls() { return m_urls; }

 private:
  static jvalue KeepUrls(FakeJni& jni, const Thing& cls, const std::vector<jvalue>& arguments) {
    const Thing argument = jni.Vm().Look(&jni, arguments.at(0).l, "the test");
    if (argument->kind == FakeThing::Kind::ObjectArray) {
      for (const Thing& url : argument->elements) m_urls.push_back(url != nullptr ? url->label : "null");
    }
    return ValueOf(jni.NewLocal(qvtest::Object(cls->label + "(" + argument->label + ")")));
  }
  static inline Lines m_urls;
};

// Functions: constants of other files may not be there yet when this one's are made.
Lines BeforeTheBuild() { return DirectLookup("no/Such") + Lines{"slot 58 ExceptionClear", "ExceptionClear()"}; }
TEST_F(Loader, TwoSeparatorsBetweenTwoPathsGiveTwoUrls) {
  SetClassPath(L"C:\\a.jar;;C:\\b b.jar");
  EXPECT_EQ(Find(), E_FAIL);
  const Lines build = BeforeTheBuild() + kLoaderClasses +
                      Lines{"slot 55 GetClassPath", "NewObjectArray(2, java/net/URL, null)"} +
                      UrlLines("C:\\a.jar", 0) + UrlLines("C:\\b b.jar", 1) + MakeLoaderLines();
  const Lines log = Log();
  ASSERT_GE(log.size(), build.size());
  EXPECT_EQ((Lines{log.begin(), log.begin() + static_cast<ptrdiff_t>(build.size())}), build);
  EXPECT_EQ(Urls(), (Lines{"url(java/io/File(\"C:\\a.jar\"))", "url(java/io/File(\"C:\\b b.jar\"))"}));
  EXPECT_EQ(GlobalsLeft(), 1);
  EXPECT_EQ(LocalsLeft(), 3 + 4) << "the classes of the build; the rest is what a failed look-up leaves";
}

TEST_F(Loader, OnlySemicolonsSeparateAndEmptyFieldsAreSkipped) {
  struct Case {
    std::wstring path;
    std::vector<std::string> files;
  };
  Case many;
  for (int i = 0; i < 1000; ++i) {
    many.files.push_back(std::to_string(i) + ".jar");
    many.path += ToWide(many.files.back()) + L";";
  }
  const Case kCases[] = {many,
                         {L"a", {"a"}},
                         {L"a;b;c", {"a", "b", "c"}},
                         {L";a", {"a"}},
                         {L"a;", {"a"}},
                         {L";;;a;;;;b;;;", {"a", "b"}},
                         {L"a,b c:d|e/f\\g\t", {"a,b c:d|e/f\\g\t"}},
                         {L" ; ", {" ", " "}},
                         {L"\x00E9\x4E2D;.", {"\xC3\xA9\xE4\xB8\xAD", "."}},
                         {L"x", {"x"}}};
  for (const Case& row : kCases) {
    SCOPED_TRACE(ToUtf8(row.path));
    SetClassPath(row.path);
    EXPECT_EQ(Find(), E_FAIL);
    Lines expected;
    for (const std::string& file : row.files) {
      expected.push_back(std::string("url(java/io/File(\"").append(file).append("\"))"));
    }
    EXPECT_EQ(Urls(), expected);
    EXPECT_EQ(ObjectRecord(), Record(L"java.lang.ClassNotFoundException: no.Such", -1001));
    EXPECT_EQ(LocalsLeft(), 3 + 4) << "however many paths";
    Renew();
  }
}

TEST_F(Loader, WithoutAPathThereIsNoLoaderAndTheNextLookupTriesAgain) {
  for (const wchar_t* const path : {L"", L";", L";;;"}) {
    SCOPED_TRACE(ToUtf8(path));
    SetClassPath(path);
    for (int calls = 1; calls <= 2; ++calls) {
      EXPECT_EQ(Find(), E_FAIL);
      EXPECT_EQ(ObjectRecord(), Record(kInternal, -1001));
      EXPECT_EQ(ClassPathCalls(), calls);
      const Lines log = Log();
      EXPECT_TRUE(std::none_of(log.begin(), log.end(),
                               [](const std::string& line) { return line.starts_with("NewObjectArray"); }));
    }
    EXPECT_EQ(GlobalsLeft(), 0);
    Renew();
  }
}

TEST_F(Loader, OnlyTheFirstClassThatTheJvmDoesNotKnowBuildsOne) {
  EXPECT_EQ(Find("java/lang/String"), S_OK);
  EXPECT_EQ(ClassPathCalls(), 0);
  EXPECT_EQ(Find(), E_FAIL);
  EXPECT_EQ(ClassPathCalls(), 1);
  Java().loaderClasses = {"a.B"};
  EXPECT_EQ(Find("a/B"), S_OK);
  EXPECT_EQ(Find("no/Other"), E_FAIL);
  EXPECT_EQ(ClassPathCalls(), 1);
  EXPECT_EQ(Java().Counts().globalsMade, 1);
}

TEST_F(Loader, InACreatedJvmNothingIsBuilt) {
  SetCreated(true);
  EXPECT_EQ(Find(), E_FAIL);
  EXPECT_EQ(ClassPathCalls(), 0);
}

TEST_F(Loader, AMissingClassStopsTheBuildBeforeTheNextOne) {
  const char* const kNames[] = {"java/net/URLClassLoader", "java/net/URL", "java/io/File"};
  for (size_t i = 0; i < 3; ++i) {
    SCOPED_TRACE(kNames[i]);
    SetClassPath(L"a");
    Java().classes.erase(kNames[i]);
    EXPECT_EQ(Find(), E_FAIL);
    const Lines looked(kLoaderClasses.begin(), kLoaderClasses.begin() + static_cast<ptrdiff_t>(i) + 1);
    const std::string error = std::string("java.lang.NoClassDefFoundError: ").append(kNames[i]);
    EXPECT_EQ(Log(), BeforeTheBuild() + looked + CaptureOf("java.lang.NoClassDefFoundError", error));
    EXPECT_EQ(ObjectRecord(), Record(ToWide(error), 0));
    EXPECT_EQ(ClassPathCalls(), 0);
    Renew();
  }
}

TEST_F(Loader, WithoutAClassPathTheBuildStops) {
  for (const int32_t status : {E_FAIL, E_OUTOFMEMORY}) {
    SetClassPath(L"not to be used", status);
    EXPECT_EQ(Find(), E_FAIL);
    EXPECT_EQ(Log(), BeforeTheBuild() + kLoaderClasses + Lines{"slot 55 GetClassPath"} + kNothingPending);
    EXPECT_EQ(ObjectRecord(), Record(L"Unable to find java no/Such class. Check CLASSPATH.", 0));
    EXPECT_EQ(LocalsLeft(), 3) << "the classes of the build";
    Renew();
  }
}

TEST_F(Loader, APathThatGivesNoUrlLeavesItsPlaceNull) {
  struct Step {
    const char* function;
    Fault fault;
    int made;     // references that came back for this path: the string, the file, the URL
    bool stored;  // a URL that came back with an exception counts
  };
  const Step kSteps[] = {{"NewString", Fault::Null, 0, false},
                         {"NewString", Fault::Throw, 0, false},
                         {"GetMethodID", Fault::Null, 1, false},
                         {"GetMethodID", Fault::Throw, 1, false},
                         {"NewObjectV", Fault::Null, 1, false},
                         {"NewObjectV", Fault::Throw, 1, false},
                         {"CallObjectMethodV", Fault::Null, 2, false},
                         {"CallObjectMethodV", Fault::Throw, 3, true},
                         {"SetObjectArrayElement", Fault::Throw, 3, false}};
  const Lines kUrls = {"url(java/io/File(\"a\"))", "url(java/io/File(\"b\"))", "url(java/io/File(\"c\"))"};
  for (const Step& step : kSteps) {
    for (int place = 0; place < 3; ++place) {
      SCOPED_TRACE(std::string(step.function).append(" of place ").append(std::to_string(place)));
      SCOPED_TRACE(step.fault == Fault::Null ? "null" : "throws");
      SetClassPath(L"a;b;c");
      Java().loaderClasses = {"a.B"};
      const bool constructor = std::string(step.function) == "GetMethodID";
      Java().FailAt(step.function, constructor ? 2 * place + 1 : place + 1, step.fault);
      Find("a/B");
      EXPECT_TRUE(Java().FaultFired());
      Lines expected = kUrls;
      if (!step.stored) expected[static_cast<size_t>(place)] = "null";
      EXPECT_EQ(Urls(), expected);
      EXPECT_EQ(GlobalsLeft(), 1);
      // What did not come back is neither stored nor deleted.
      const Lines log = Log();
      EXPECT_TRUE(std::none_of(log.begin(), log.end(), [](const std::string& line) {
        return line.starts_with("SetObjectArrayElement") && line.find("null") != std::string::npos;
      }));
      const auto deletions = std::count(log.begin(), log.end(), "slot 8 DeleteLocalRef");
      EXPECT_EQ(deletions, 2 * 3 + step.made + 3) << "those of the paths, then array, loader and the class's name";
      Renew();
    }
  }
}

TEST_F(Loader, WithoutTheObjectOrItsGlobalReferenceThereIsNoLoader) {
  struct Step {
    const char* function;
    int n;
  };
  for (const Step& step : {Step{"GetMethodID", 3}, Step{"NewObjectV", 2}, Step{"NewGlobalRef", 1}}) {
    for (const Fault fault : {Fault::Null, Fault::Throw}) {
      SCOPED_TRACE(step.function);
      SetClassPath(L"a");
      Java().FailAt(step.function, step.n, fault);
      EXPECT_EQ(Find(), E_FAIL);
      EXPECT_TRUE(Java().FaultFired());
      EXPECT_EQ(ObjectRecord(), Record(kInternal, -1001));
      EXPECT_EQ(GlobalsLeft(), 0);
      // Another look-up tries again and succeeds.
      Jni().SetPending(nullptr);
      Java().loaderClasses = {"a.B"};
      EXPECT_EQ(Find("a/B"), S_OK);
      EXPECT_EQ(ClassPathCalls(), 2);
      Renew();
    }
  }
}

TEST_F(Loader, TheObjectsEndDeletesTheLoaderThroughSlot11AndComesWithoutAnEnvironmentToo) {
  for (const bool environment : {true, false}) {
    EXPECT_EQ(Find(), E_FAIL);
    if (!environment) TakeEnvironmentAway();
    Log();
    Api().Destroy(0);
    const Lines deleted = {"DeleteGlobalRef(global java/net/URLClassLoader(array))"};
    EXPECT_EQ(Log(),
              (Lines{"slot 57 Destroy", "slot 11 DeleteGlobalRef", kEnvironment}) + (environment ? deleted : Lines{}));
    EXPECT_EQ(GlobalsLeft(), environment ? 0 : 1);
    EXPECT_EQ(ObjectRecord(), kNoRecord);
    Renew();
    SetClassPath(L"C:\\a.jar");
  }
}

TEST_F(Loader, AnObjectWithoutALoaderEndsWithoutJava) {
  Api().Destroy(0);
  EXPECT_EQ(Log(), (Lines{"slot 57 Destroy"}));
}

}  // namespace
}  // namespace qvtest
