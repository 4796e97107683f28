// Hostile texts where a real JVM adds nothing: against a recorded one, with guard pages behind every block and behind
// every text. Variadic slots with signatures that are none, classes that only the loader might know, class paths.
#include <algorithm>
#include <cwchar>

#include "config/path_list.h"
#include "store/option_plan.h"
#include "tests/bridge/bridge_test.h"
#include "tests/reliability/hostile/hostile_text.h"

namespace qvtest {
namespace {

class HostileText : public BridgeTest {
 protected:
  void Try(const char* key, const char* kind, const wchar_t* resource,
           const std::function<std::string(const std::string&)>& once) {
    TryTexts({key, kind, "recorded", resource, IsNightly() ? 9000U : 500U}, m_accepted, [&](const std::string& text) {
      const std::string trouble = once(text);
      Renew();
      return trouble;
    });
  }

  bool m_accepted = false;
};

// The JVM refuses the signature, as it refuses each that names no method: no argument is read and nothing is called.
TEST_F(HostileText, SignaturesOfVariadicSlots) {
  Try("5", "signatures that the JVM refuses, variadic slots", L"SIGNATURES",
      [&](const std::string& text) -> std::string {
        const GuardedText signature(text);
        Java().missingMembers = {"name", "<init>"};
        jclass const cls = Jni().GivenClass("a/B");
        jobject const object = Jni().GivenObject("it");
        int32_t number = 7;
        int64_t wide = 7;
        double real = 7;
        qv_jobject reference = this;
        IQV_JavaVM& vm = Api();
        const int32_t statuses[] = {
            vm.CallIntMethod(&number, cls, object, "name", signature),
            vm.CallLongMethod2(&wide, cls, object, "name", signature),
            vm.CallDoubleMethod(&real, cls, object, "name", signature),
            vm.CallBooleanMethod2(&number, cls, object, "name", signature),
            vm.CallObjectMethod(&reference, cls, object, "name", signature),
            vm.CallVoidMethod(cls, object, "name", signature),
            vm.CallStaticBooleanMethod(&number, cls, "name", signature),
            vm.CallStaticObjectMethod(&reference, cls, "name", signature),
            vm.CallStaticVoidMethod(cls, "name", signature),
        };
        for (const int32_t status : statuses) {
          if (status != E_FAIL) return "status " + std::to_string(status);
        }
        if (number != 7 || wide != 7 || real != 7 || reference != this) return "a result was touched";
        if (!(ObjectRecord() == Record(L"java.lang.NoSuchMethodError: name", -1001))) return "another record";
        if (vm.NewObject(&reference, cls, signature) != E_FAIL || reference != nullptr) return "an object";
        const Lines log = Log();
        const auto calls = std::count_if(log.begin(), log.end(), [](const std::string& line) {
          return line.starts_with("NewObjectV") ||
                 (line.starts_with("Call") && line.find("toString") == std::string::npos);
        });
        if (calls != 0) return "something was called";
        const std::string lookUp = "GetMethodID(a/B, \"<init>\", \"" + text.substr(0, 511) + "V\")";
        return std::count(log.begin(), log.end(), lookUp) == 1 ? "" : "another look-up of the constructor";
      });
}

int32_t OneArchive(void*, IQvString** text) { return QvshrCreateString(L"C:\\a.jar", text); }

// Joined: the JVM does not know the class, the loader is asked for the dotted name, and its exception is the record.
TEST_F(HostileText, ClassNamesForTheLoader) {
  Try("6", "class names for the loader of a joined JVM", L"CLASS_NAMES", [&](const std::string& text) -> std::string {
    const GuardedText name(text);
    Watch().Replace<55>(OneArchive);
    if (Java().classes.contains(text)) return "";
    qv_jclass found = this;
    if (Api().FindClass(&found, name) != E_FAIL || found != nullptr) return "a class";
    std::wstring dotted(text.size() + 1, L'\0');
    const size_t length = std::mbstowcs(dotted.data(), text.c_str(), dotted.size());
    const RecordView record = ObjectRecord();
    if (length == static_cast<size_t>(-1)) {  // no text in this code page: the loader cannot be asked
      return record.exists && record.code == 0 && record.text.starts_with(L"Unable to find java ") ? ""
                                                                                                   : "another record";
    }
    dotted.resize(length);
    std::replace(dotted.begin(), dotted.end(), L'/', L'.');
    m_accepted = true;
    const bool right = record.exists && record.code == -1001 &&
                       record.text == (L"java.lang.ClassNotFoundException: " + dotted).substr(0, 511);
    return right ? "" : "record \"" + ToUtf8(record.text) + '"';
  });
}

// In front of the message stands whatever of the name can be shown.
TEST_F(HostileText, ClassNamesInTheMessage) {
  Try("7", "class names in the message of a lookup", L"CLASS_NAMES", [&](const std::string& text) -> std::string {
    const GuardedText name(text);
    SetCreated(true);
    Java().FailAt("FindClass", 1, Fault::Null);
    qv_jclass found = this;
    if (Api().FindClass(&found, name) != E_FAIL || found != nullptr) return "a class";
    const RecordView record = ObjectRecord();
    SetCreated(false);
    if (!record.exists || record.code != 0 || !record.text.starts_with(L"Unable to find java "))
      return "another record";
    const bool ascii = std::all_of(text.begin(), text.end(), [](char c) { return c > 0; });
    if (!ascii || text.size() > 400) return "";
    m_accepted = true;
    return record.text == L"Unable to find java " + ToWide(text) + L" class. Check CLASSPATH." ? "" : "another text";
  });
}

// What a class path is split into, and what the loader is made of.
TEST_F(HostileText, ClassPathsForTheLoader) {
  Try("8", "class paths for the loader", L"PATHS", [&](const std::string& text) -> std::string {
    const std::wstring path = WideOf(text);
    std::vector<std::wstring> wanted;
    for (size_t at = 0; at <= path.size();) {
      const size_t end = std::min(path.find(L';', at), path.size());
      if (end > at) wanted.push_back(path.substr(at, end - at));
      at = end + 1;
    }
    qv::PathList list;
    if (!list.TrySplit(path)) return "no memory";
    std::vector<std::wstring> pieces;
    list.ForEach([&](const wchar_t* piece) { pieces.emplace_back(piece); });
    m_accepted = !wanted.empty();
    if (list.Count() != static_cast<int32_t>(wanted.size())) return "another number of paths";
    return pieces == wanted ? "" : "other paths";
  });
}

// What the JVM is given: the thread's own class path as it is, in the code page of the machine, before the system's.
TEST_F(HostileText, ClassPathsForTheJvm) {
  Try("9", "class paths for the JVM", L"PATHS", [&](const std::string& text) -> std::string {
    const std::wstring path = WideOf(text);
    const std::wstring wanted = L"-Djava.class.path=" + path + (path.empty() ? L"" : L";") + L"C:\\s.jar;.";
    std::string bytes(wanted.size() * 4, '\0');
    bytes.resize(
        static_cast<size_t>(WideCharToMultiByte(CP_ACP, 0, wanted.data(), static_cast<int>(wanted.size()), bytes.data(),
                                                static_cast<int>(bytes.size()), nullptr, nullptr)));
    const qv::PropertyTexts none(nullptr, 0);
    const qv::OptionSources sources{.threadClassPath = path.c_str(),
                                    .classPath = L"C:\\s.jar;.",
                                    .bootClassPathOption = L"-Xbootclasspath/a:C:\\b.jar",
                                    .vfprintfHook = this,
                                    .exitHook = this,
                                    .configuredCount = 0,
                                    .properties = &none};
    JavaVMOption* options = nullptr;
    int32_t count = 0;
    if (!qv::BuildOptionArray(
            sources, [](int32_t, qv::StringRef&) { return false; }, &options, &count)) {
      return "no options";
    }
    m_accepted = true;
    const bool right = count == 4 && bytes == options[0].optionString;
    qv::FreeOptions(options, count);
    return right ? "" : "another option";
  });
}

}  // namespace
}  // namespace qvtest
