// Each case breaks a sound machine in one way; the doctor must name the cause on its first screen. A case is a process
// of its own, because what the service learned about its machine stays for the life of the process.
#include <gmock/gmock.h>

#include <chrono>
#include <memory>
#include <sstream>

#include "base/handle.h"
#include "doctor/collect.h"
#include "doctor/judge.h"
#include "doctor/print.h"
#include "doctor/trial_start.h"
#include "tests/support/broken_image.h"
#include "tests/support/environment.h"
#include "tests/support/ledger_check.h"
#include "tests/support/message_box.h"
#include "tests/support/product.h"
#include "tests/support/registry_sandbox.h"
#include "tests/support/temp_folder.h"

namespace qvtest {
namespace {

constexpr size_t kFirstScreen = 24;
const std::wstring kQuovant = kQuovantRoot;
const std::wstring kJava = kQuovant + L"\\Java";
const std::wstring kConfig = kQuovant + L"\\Java\\QVIDEConfig";

// A machine on which both kinds of host start: a runtime, and a known host's settings.
class SoundMachine : private Pinned {
 public:
  SoundMachine() {
    folder.CopyIn(ProgramFolder() + L"\\..\\qvjvm.dll", L"service\\qvjvm.dll");
    MakeRuntime(L"java", "17.0.9");
    registry.SetLocations(kQuovant, folder.Path(L"java"), folder.Path(L"java\\bin\\server"));
    registry.SetList(Hive::Machine, kConfig + L"\\QVSysclasspath", {folder.MakeFolder(L"classes")});
    SetOptions({L"-Xmx128m"});
    registry.CreateKey(Hive::Machine, kConfig + L"\\QVJVMprops");
    folder.MakeFolder(L"log");
    SetLogFolder(folder.Path(L"log"));
    SetVariable(L"JAVA_HOME", folder.Path(L"java"));
    SetVariable(L"PATH", std::wstring(L"C:\\windows\\system32"));
    for (const wchar_t* name : {L"CLASSPATH", L"JAVA_TOOL_OPTIONS", L"_JAVA_OPTIONS", L"JDK_JAVA_OPTIONS"}) {
      SetVariable(name, std::nullopt);
    }
  }

  ~SoundMachine() { SetFileAttributesW(folder.Path(L"log\\vm.out").c_str(), FILE_ATTRIBUTE_NORMAL); }

  void MakeRuntime(const std::wstring& name, const std::string& version) const {
    folder.CopyIn(ProgramFolder() + L"\\..\\qvjvm.dll", name + L"\\bin\\server\\jvm.dll");
    for (const wchar_t* part : {L"java", L"jimage", L"zip", L"net", L"nio", L"verify"}) {
      folder.CopyIn(ProgramFolder() + L"\\..\\qvshr.dll", name + L"\\bin\\" + part + L".dll");
    }
    folder.WriteFile(name + L"\\lib\\modules", Modules());
    folder.WriteFile(name + L"\\lib\\tzdb.dat", std::string_view("\1\0\4TZDB", 7));
    folder.WriteFile(name + L"\\conf\\security\\java.security", "security.provider.1=SUN\n");
    folder.WriteFile(name + L"\\release", "IMPLEMENTOR=\"any\"\nJAVA_VERSION=\"" + version + "\"\n");
  }
  // A class library of one class with ten bytes: header, tables, an empty place, one at 3 with 7 bytes, a text.
  static std::string Modules() {
    const uint32_t header[] = {0xCAFEDADA, 0x00010000, 0, 1, 1, 6, 1, 0, 1};
    return std::string(reinterpret_cast<const char*>(header), sizeof(header)) +
           std::string(
               "\0"
               "\x28\x03"
               "\x38\x07"
               "\0"
               "t",
               7) +
           std::string(10, 'c');
  }
  void ChangeFile(const std::wstring& name,
                  const std::function<std::string(const std::string& content)>& change) const {
    folder.WriteFile(name, change(ReadWholeFile(folder.Path(name))));
  }
  void SetVariable(const std::wstring& name, const std::optional<std::wstring>& value) {
    m_variables.push_back(std::make_unique<EnvironmentScope>(name, value));
  }
  void SetOptions(const std::vector<std::wstring>& options) {
    registry.SetList(Hive::Machine, kConfig + L"\\QVJVMconfig", options);
  }
  static void SetLogFolder(const std::wstring& path) {
    QvshrLedgerOverrideFolder(0, path.c_str());
    QvshrLedgerOverrideFolder(1, path.c_str());
  }
  [[nodiscard]] std::wstring JvmDll() const { return folder.Path(L"java\\bin\\server\\jvm.dll"); }
  void ChangeJvm(const std::function<std::string(const std::string& content)>& change) const {
    folder.WriteFile(L"java\\bin\\server\\jvm.dll", change(ReadWholeFile(JvmDll())));
  }

  TempFolder folder;
  RegistrySandbox registry;
  qv::Handle held;  // a file that nobody else may open

 private:
  std::vector<std::unique_ptr<EnvironmentScope>> m_variables;
};

using Break = std::function<void(SoundMachine&)>;

Break Variable(const wchar_t* name, std::optional<std::wstring> value) {
  return [=](SoundMachine& machine) { machine.SetVariable(name, value); };
}
Break JavaHomeBelow(const wchar_t* before, const wchar_t* relative, const wchar_t* after) {
  return
      [=](SoundMachine& machine) { machine.SetVariable(L"JAVA_HOME", before + machine.folder.Path(relative) + after); };
}
Break JvmFor(unsigned short processor) {
  return [=](SoundMachine& machine) {
    machine.ChangeJvm([=](const std::string& content) { return ForMachine(content, processor); });
  };
}
Break JvmHolds(std::string content) {
  return [=](SoundMachine& machine) { machine.ChangeJvm([=](const std::string&) { return content; }); };
}
Break FileHolds(const wchar_t* relative, std::string content) {
  return [=](SoundMachine& machine) { machine.folder.WriteFile(relative, content); };
}
Break FileCut(const wchar_t* relative, size_t bytes = 1) {
  return [=](SoundMachine& machine) {
    machine.ChangeFile(relative, [=](const std::string& content) { return content.substr(0, content.size() - bytes); });
  };
}
// A library, whose end may be symbols that no start needs.
Break LibraryCut(const wchar_t* relative) {
  return [=](SoundMachine& machine) {
    machine.ChangeFile(relative, [](const std::string& content) { return content.substr(0, content.size() / 8); });
  };
}
Break FileFor(const wchar_t* relative, unsigned short processor) {
  return [=](SoundMachine& machine) {
    machine.ChangeFile(relative, [=](const std::string& content) { return ForMachine(content, processor); });
  };
}
// A jar on CLASSPATH.
Break Jar(std::string content) {
  return
      [=](SoundMachine& machine) { machine.SetVariable(L"CLASSPATH", machine.folder.WriteFile(L"one.jar", content)); };
}
Break FileGone(const wchar_t* relative) {
  return [=](SoundMachine& machine) { std::filesystem::remove_all(machine.folder.Path(relative)); };
}
Break KeyGone(std::wstring key) {
  return [=](SoundMachine& machine) { machine.registry.DeleteKey(Hive::Machine, key); };
}
Break ValueGone(std::wstring key, const wchar_t* name) {
  return [=](SoundMachine& machine) { machine.registry.DeleteValue(Hive::Machine, key, name); };
}
Break Value(std::wstring key, const wchar_t* name, const wchar_t* text) {
  return [=](SoundMachine& machine) { machine.registry.SetText(Hive::Machine, key, name, text); };
}
Break Options(std::vector<std::wstring> options) {
  return [=](SoundMachine& machine) { machine.SetOptions(options); };
}

struct Case {
  const char* name;
  const wchar_t* host;
  Break breakIt;
  const wchar_t* cause;  // empty: no problem is found

  friend void PrintTo(const Case& one, std::ostream* out) { *out << one.name; }
};

const wchar_t kUnknown[] = L"report.exe";
const wchar_t kKnown[] = L"QV190.exe";

const Case kCases[] = {
    {"NothingForAnUnknownHost", kUnknown, [](SoundMachine&) {}, L""},
    {"NothingForAKnownHost", kKnown, [](SoundMachine&) {}, L""},
    {"NothingForAJavaLauncher", L"javaw.exe", Variable(L"JAVA_HOME", std::nullopt), L""},

    {"InterpretedJavaForAnUnknownHost", kUnknown, [](SoundMachine&) {},
     L"note Java 17.0.9 interprets all code, many times slower, because of -Djava.compiler=NONE from the default tree "
     L"Java\\QVRTConfig\\QVJVMprops > The program may ask for compiled() in its options, or qvshr.ini beside it have "
     L"this line alone: [HKLM\\Software\\Harlowe\\Quovant\\19.0\\Java\\QVRTConfig\\QVJVMprops]"},

    // the runtime of an unknown host
    {"NoRuntimeAnywhere", kUnknown,
     [](SoundMachine& machine) {
       machine.SetVariable(L"JAVA_HOME", std::nullopt);
       machine.registry.DeleteKey(Hive::Machine, kJava);
     },
     L"no Java runtime was found"},
    {"JavaHomePointsNowhere", kUnknown, Variable(L"JAVA_HOME", L"C:\\gone"), L"JAVA_HOME has no jvm.dll: C:\\gone"},
    {"JavaHomeInQuotes", kUnknown, JavaHomeBelow(L"\"", L"java", L"\""), L"JAVA_HOME has quotes"},
    {"JavaHomeEndsInABackslash", kUnknown, Variable(L"JAVA_HOME", L"C:\\gone\\"), L"JAVA_HOME ends with a backslash"},
    {"JavaHomeIsItsBinFolder", kUnknown, JavaHomeBelow(L"", L"java\\bin", L""), L"JAVA_HOME has no jvm.dll"},
    {"JavaHomeHidesTheRegisteredRuntime", kUnknown,
     [](SoundMachine& machine) {
       machine.registry.RegisterRuntime(L"17", machine.folder.Path(L"java"));
       machine.SetVariable(L"JAVA_HOME", std::wstring(L"C:\\gone"));
     },
     L"registered runtime is not looked for"},
    {"TheCurrentRuntimeIsSwitchedOff", kUnknown,
     [](SoundMachine&) { QvshrLedgerOverrideSetting(L"QV", L"QVJRENOTUSECURRENT", L"1"); }, L"QVJRENOTUSECURRENT is 1"},
    {"A32BitRuntime", kUnknown, JvmFor(0x014C), L"is for x86, not x64"},
    {"AnArmRuntime", kUnknown, JvmFor(0xAA64), L"is for ARM64, not x64"},
    {"AnEmptyJvm", kUnknown, JvmHolds(""), L"is damaged"},
    {"ATruncatedJvm", kUnknown,
     [](SoundMachine& machine) {
       machine.ChangeJvm([](const std::string& content) { return content.substr(0, 600); });
     },
     L"is damaged"},
    {"ATextInTheJvmsPlace", kUnknown, JvmHolds(std::string(10000, 'x')), L"is damaged: it is not jvm.dll"},
    {"AJvmThatCannotBeRead", kUnknown,
     [](SoundMachine& machine) {
       machine.held.Reset(
           CreateFileW(machine.JvmDll().c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr));
     },
     L"cannot be read"},
    {"ARuntimeWithoutLib", kUnknown, FileGone(L"java\\lib"), L"the runtime has no folder lib"},
    {"ARuntimeWithoutModules", kUnknown, FileGone(L"java\\lib\\modules"), L"lacks lib\\modules"},
    {"ARuntimeWithoutItsLibraries", kUnknown, FileGone(L"java\\bin\\java.dll"), L"lacks bin\\java.dll"},
    {"ARuntimeWithoutSettings", kUnknown, FileGone(L"java\\conf"), L"lacks conf\\security\\java.security"},
    {"ACutClassLibrary", kUnknown, FileCut(L"java\\lib\\modules"), L"lib\\modules is damaged: it is cut off"},
    {"AClassLibraryOfSomethingElse", kUnknown, FileHolds(L"java\\lib\\modules", std::string(99, 'x')),
     L"lib\\modules is damaged: it is not a class library"},
    {"ACutLibraryOfTheRuntime", kUnknown, LibraryCut(L"java\\bin\\zip.dll"), L"zip.dll is damaged: it is cut off"},
    {"AnEmptyLibraryOfTheRuntime", kUnknown, FileHolds(L"java\\bin\\net.dll", ""), L"net.dll is damaged: it is empty"},
    {"ALibraryThatNoStartNeeds", kUnknown, FileHolds(L"java\\bin\\awt.dll", "x"),
     L"awt.dll is damaged: it is not awt.dll"},
    {"A32BitLibraryOfTheRuntime", kUnknown, FileFor(L"java\\bin\\nio.dll", 0x014C), L"nio.dll is for x86, not x64"},
    {"TimeZonesOfSomethingElse", kUnknown, FileHolds(L"java\\lib\\tzdb.dat", "x"), L"tzdb.dat is damaged"},
    {"AForeignLibraryBesideTheHost", kUnknown,
     [](SoundMachine& machine) { machine.folder.WriteFile(L"service\\zip.dll", "x"); },
     L"service\\zip.dll hides the one of the Java runtime and is damaged"},

    {"ALibraryUnderTheNameOfAnother", kUnknown,
     [](SoundMachine& machine) {
       machine.folder.CopyIn(ProgramFolder() + L"\\..\\qvshr.dll", L"java\\bin\\qvshr.dll");
     },
     L"java.dll is damaged: it is not java.dll"},
    {"TheRegisteredRuntimeIsGone", kUnknown,
     [](SoundMachine& machine) {
       machine.SetVariable(L"JAVA_HOME", std::nullopt);
       machine.registry.RegisterRuntime(L"17", L"C:\\gone");
     },
     L"the registered JavaHome has no jvm.dll: C:\\gone"},
    {"TheRegisteredVersionIsUnknown", kUnknown,
     [](SoundMachine& machine) {
       machine.SetVariable(L"JAVA_HOME", std::nullopt);
       machine.registry.SetText(Hive::Machine, L"Software\\JavaSoft\\Java Runtime Environment", L"CurrentVersion",
                                L"9x");
     },
     L"CurrentVersion is 9x, and there is no JavaHome"},

    // the product itself
    {"TheServiceIsMissing", kUnknown, FileGone(L"service\\qvjvm.dll"), L"qvjvm.dll is missing"},
    {"TheServiceIsCut", kUnknown, LibraryCut(L"service\\qvjvm.dll"), L"qvjvm.dll is damaged: it is cut off"},
    {"TheServiceIsEmpty", kUnknown, FileHolds(L"service\\qvjvm.dll", ""), L"qvjvm.dll is damaged: it is empty"},
    {"TheServiceIsNoLibrary", kUnknown, FileHolds(L"service\\qvjvm.dll", std::string(9999, 'x')),
     L"qvjvm.dll is damaged: it is not qvjvm.dll"},
    {"TheServiceIsForArm", kUnknown, FileFor(L"service\\qvjvm.dll", 0xAA64), L"qvjvm.dll is for ARM64, not x64"},
    {"TheHostLibraryIsFor32Bit", kUnknown,
     [](SoundMachine& machine) {
       machine.folder.CopyIn(ProgramFolder() + L"\\qvshr.dll", L"service\\qvshr.dll");
       FileFor(L"service\\qvshr.dll", 0x014C)(machine);
     },
     L"qvshr.dll is for x86, not x64"},
    {"TheServiceUnderTheOthersName", kUnknown,
     [](SoundMachine& machine) { machine.folder.CopyIn(ProgramFolder() + L"\\..\\qvjvm.dll", L"service\\qvshr.dll"); },
     L"qvshr.dll is damaged: it is not qvshr.dll"},
    {"TheServiceIsAProgram", kUnknown,
     [](SoundMachine& machine) {
       machine.folder.CopyIn(ProgramFolder() + L"\\..\\qvjvm-doctor.exe", L"service\\qvjvm.dll");
     },
     L"qvjvm.dll is damaged: it is not qvjvm.dll"},
    {"TheServiceIsAnotherVersion", kUnknown,
     [](SoundMachine& machine) {
       // In the resource, behind its signature and its own version.
       machine.ChangeFile(L"service\\qvjvm.dll", [](std::string content) {
         content[content.find("\xBD\x04\xEF\xFE") + 10] = 7;
         return content;
       });
     },
     L"qvjvm.dll is version 7."},
    {"AVeryOldRuntime", kUnknown, [](SoundMachine& machine) { machine.MakeRuntime(L"java", "1.6.0_45"); },
     L"Java 1.6.0_45 is older"},

    // the settings of a known host
    {"TheRootKeyIsMissing", kKnown, KeyGone(kQuovant), L"Software\\Harlowe\\Quovant\\19.0 is missing"},
    {"JdkLocationIsMissing", kKnown, ValueGone(kJava, L"JDKLocation"), L"JDKLocation is missing"},
    {"JreBinLocationIsMissing", kKnown, ValueGone(kJava, L"JREBinLocation"), L"JREBinLocation is missing"},
    {"JdkLocationIsEmpty", kKnown, Value(kJava, L"JDKLocation", L""), L"JDKLocation is empty"},
    {"JreBinLocationIsEmpty", kKnown, Value(kJava, L"JREBinLocation", L""), L"JREBinLocation is empty"},
    {"JreBinLocationHasNoJvm", kKnown, Value(kJava, L"JREBinLocation", L"C:\\gone"),
     L"there is no jvm.dll in C:\\gone"},
    {"A32BitRuntimeIsConfigured", kKnown, JvmFor(0x014C), L"is for x86, not x64"},
    {"TheClassPathListIsMissing", kKnown, KeyGone(kConfig + L"\\QVSysclasspath"), L"shows a message box"},
    {"TheClassPathListHasNoCount", kKnown, ValueGone(kConfig + L"\\QVSysclasspath", L"Count"), L"shows a message box"},
    {"TheOptionListIsMissing", kKnown, KeyGone(kConfig + L"\\QVJVMconfig"), L"the start-up options cannot be built"},
    {"TheOptionListLacksAnEntry", kKnown, Value(kConfig + L"\\QVJVMconfig", L"Count", L"3"),
     L"the start-up options cannot be built"},
    {"TheOptionListClaimsToBeHuge", kKnown, Value(kConfig + L"\\QVJVMconfig", L"Count", L"2147483647"),
     L"the start-up options cannot be built"},
    {"ThePropertiesAreMissing", kKnown, KeyGone(kConfig + L"\\QVJVMprops"), L"the start-up options cannot be built"},

    // what the runtime refuses
    {"AnOptionOfThePast", kKnown, Options({L"-XX:MaxPermSize=64m"}),
     L"Java 17.0.9 refuses to start with -XX:MaxPermSize=64m"},
    {"ACollectorOfThePast", kKnown, Options({L"-XX:+UseConcMarkSweepGC"}),
     L"refuses to start with -XX:+UseConcMarkSweepGC"},
    {"AnOptionWithoutItsHyphen", kKnown, Options({L"Xmx128m"}), L"refuses to start with Xmx128m"},
    {"AnEmptyOption", kKnown, Options({L"-Xmx64m", L""}), L"an empty option"},
    {"ExtensionFolders", kKnown, Options({L"-Djava.ext.dirs=C:\\ext"}), L"extension folders were removed"},
    {"EndorsedFolders", kKnown, Options({L"-Djava.endorsed.dirs=C:\\e"}), L"endorsed folders were removed"},
    {"ABootClassPathInFront", kKnown, Options({L"-Xbootclasspath/p:C:\\b.jar"}), L"removed in Java 9"},

    {"ASizeThatIsNone", kKnown, Options({L"-Xmx128mb"}), L"refuses to start with -Xmx128mb"},
    {"AnOptionInTheEnvironment", kUnknown, Variable(L"JAVA_TOOL_OPTIONS", L"-Dx=1 -XX:MaxPermSize=64m"),
     L"JAVA_TOOL_OPTIONS holds -XX:MaxPermSize=64m: removed in Java 17"},
    {"AWordInTheLateEnvironment", kUnknown, Variable(L"_JAVA_OPTIONS", L"nonsense"), L"_JAVA_OPTIONS holds nonsense"},
    {"OptionsForTheLauncher", kUnknown, Variable(L"JDK_JAVA_OPTIONS", L"-Xmx1g"), L"java.exe alone reads"},

    // texts, class path, log
    {"AClassPathOutsideTheCodePage", kUnknown, Variable(L"CLASSPATH", L"C:\\\x65E5\x672C.jar"),
     L"the system's code page cannot hold"},
    {"AMissingArchive", kUnknown, Variable(L"CLASSPATH", L"C:\\gone.jar"),
     L"11 of 12 class path entries do not exist: gone.jar, fop.jar, batik.jar, xalan-2.4.1.jar and 7 more"},
    {"AReportWithoutItsLibraries", kUnknown,
     [](SoundMachine& machine) {
       machine.folder.WriteFile(L"service\\fop-0.20.5\\build\\fop.jar",
                                std::string("PK\5\6", 4) + std::string(18, '\0'));
     },
     L"warning 9 of 11 class path entries do not exist: batik.jar"},
    {"QuotesInTheClassPath", kUnknown, Variable(L"CLASSPATH", L"\"C:\\a b.jar\""), L"CLASSPATH has quotes"},
    {"AStarInTheClassPath", kUnknown, Variable(L"CLASSPATH", L"C:\\lib\\*"), L"CLASSPATH has a *"},
    {"AnEmptyJar", kUnknown, Jar(""), L"one.jar is damaged: it is empty"},
    {"AJarOfSomethingElse", kUnknown, Jar("<html>"), L"one.jar is damaged: it is not a jar"},
    {"ACutJar", kUnknown, Jar(std::string("PK\3\4", 4) + std::string(90, 'x')), L"one.jar is damaged: it is cut off"},
    {"AFolderInAJarsPlace", kUnknown,
     [](SoundMachine& machine) { machine.SetVariable(L"CLASSPATH", machine.folder.MakeFolder(L"one.jar")); },
     L"one.jar is damaged: it is not a jar"},
    {"AJarOverAnother", kUnknown,
     [](SoundMachine& machine) {
       const std::string jar = std::string("PK\1\2", 4) + std::string(42, 'x') +
                               std::string("PK\5\6\0\0\0\0\1\0\1\0\x2E\0\0\0\0\0\0\0\0\0", 22);
       machine.SetVariable(
           L"CLASSPATH", machine.folder.WriteFile(L"one.jar", jar) + L";" + machine.folder.WriteFile(L"two.jar", jar));
     },
     L"two.jar hold the same"},
    {"AJarThatLacksItsBeginning", kUnknown, Jar(std::string("PK\5\6\0\0\0\0\1\0\1\0\x60\0\0\0\0\0\0\0\0\0", 22)),
     L"one.jar is damaged: it is cut off"},
    {"TheLogIsAFolder", kUnknown, [](SoundMachine& machine) { machine.folder.MakeFolder(L"log\\vm.out"); },
     L"vm.out is lost: it is a folder"},
    {"TheLogIsReadOnly", kUnknown,
     [](SoundMachine& machine) {
       machine.folder.WriteFile(L"log\\vm.out", "old");
       SetFileAttributesW(machine.folder.Path(L"log\\vm.out").c_str(), FILE_ATTRIBUTE_READONLY);
     },
     L"vm.out is lost: it cannot be written"},
    {"TheLogHasNoFolder", kUnknown,
     [](SoundMachine& machine) { SoundMachine::SetLogFolder(machine.folder.Path(L"gone")); },
     L"vm.out is lost: its folder does not exist"},
};

doctor::Facts Examine(const SoundMachine& machine, const wchar_t* host, bool joined = false) {
  doctor::Facts facts = doctor::Collect(
      {.host = host, .hostFolder = {}, .joined = joined, .serviceFolder = machine.folder.Path(L"service")});
  doctor::Judge(facts);
  return facts;
}

class DoctorCase : public testing::TestWithParam<Case> {};

// The first screen as one line: findings are wrapped at any blank.
std::wstring FirstScreen(const std::wstring& text) {
  std::wistringstream lines(text);
  std::wstring screen;
  std::wstring line;
  for (size_t number = 0; number < kFirstScreen && std::getline(lines, line); ++number) {
    screen += line.substr(std::min(line.find_first_not_of(L' '), line.size())) + L" ";
  }
  return screen;
}

TEST_P(DoctorCase, NamesTheCauseOnItsFirstScreen) {
  SoundMachine machine;
  GetParam().breakIt(machine);
  const MessageBoxCatcher boxes;
  const doctor::Facts facts = Examine(machine, GetParam().host);
  const std::wstring text = doctor::AsText(facts, false);
  EXPECT_THAT(boxes.Shown(), testing::IsEmpty());
  const bool problem = std::any_of(facts.findings.begin(), facts.findings.end(), [](const doctor::Finding& finding) {
    return finding.severity == doctor::Severity::Problem;
  });
  if (*GetParam().cause == L'\0') {
    EXPECT_FALSE(problem) << ToUtf8(text);
    EXPECT_EQ(doctor::WorstOf(facts), doctor::Severity::Note) << ToUtf8(text);
  } else {
    EXPECT_NE(FirstScreen(text).find(GetParam().cause), std::wstring::npos) << ToUtf8(text);
  }
}

INSTANTIATE_TEST_SUITE_P(Machines, DoctorCase, testing::ValuesIn(kCases),
                         [](const testing::TestParamInfo<Case>& one) { return std::string(one.param.name); });

void ExpectParts(const std::wstring& text, std::initializer_list<const wchar_t*> parts) {
  for (const wchar_t* const part : parts) {
    EXPECT_NE(text.find(part), std::wstring::npos) << ToUtf8(part) << " is missing in:\n" << ToUtf8(text);
  }
}

TEST(Doctor, TellsEachSettingWithItsOrigin) {
  SoundMachine machine;
  machine.SetVariable(L"CLASSPATH", std::wstring(L"C:\\x.jar"));
  const std::wstring text = doctor::AsText(Examine(machine, L"qv190.exe"), false);
  ExpectParts(text, {L"Quovant", L"[environment]", L"[registry", L"the service",
                     L"registry Java\\QVIDEConfig\\QVJVMconfig", L"C:\\x.jar  (missing)", L"+ .\n", L"17.0.9"});
  std::wistringstream lines(text);
  for (std::wstring line; std::getline(lines, line);) {
    // Only a path or an option, which is there to be copied, may be longer than a line.
    EXPECT_TRUE(line.size() <= 80 || line.find(L'\\') != std::wstring::npos) << ToUtf8(line);
  }
}

TEST(Doctor, TellsOfEachListWhereTheServiceTookItFrom) {
  SoundMachine machine;
  const std::wstring config = kQuovant + L"\\Java\\QVRTConfig";
  // A list without a Count: the service takes the built-in one.
  machine.registry.SetText(Hive::Machine, config + L"\\QVJVMconfig", L"0", L"-Xint");
  machine.registry.SetText(Hive::Machine, config + L"\\QVJVMprops", L"p", L"v");
  ExpectParts(doctor::AsText(Examine(machine, kUnknown), false),
              {L"-Xmx128m\n      default tree Java\\QVRTConfig\\QVJVMconfig\n",
               L"-Dp=v\n      registry Java\\QVRTConfig\\QVJVMprops\n"});
}

TEST(Doctor, AWrongJavaHomeIsTheCauseWhenNoRuntimeIsFound) {
  SoundMachine machine;
  machine.SetVariable(L"JAVA_HOME", std::wstring(L"C:\\gone"));
  machine.registry.DeleteKey(Hive::Machine, kJava);
  const doctor::Facts facts = Examine(machine, L"report.exe");
  ASSERT_EQ(facts.findings.size(), 3U);  // the last one is a note
  EXPECT_EQ(facts.findings[0].severity, doctor::Severity::Problem);
  EXPECT_EQ(facts.findings[0].cause, L"JAVA_HOME has no jvm.dll: C:\\gone");
  const std::wstring text = doctor::AsText(facts, false);
  EXPECT_TRUE(text.ends_with(L"\n2 problems, 0 warnings; they stand at the top\n")) << ToUtf8(text);
}

TEST(Doctor, TheLogOfAnotherProcessIsNotShown) {
  const TempFolder folder;
  folder.WriteFile(L"vm.out", "a line");
  const std::filesystem::path log = folder.Path(L"vm.out");
  const auto before = doctor::WrittenAt(log);
  EXPECT_THAT(doctor::LogTail(log, before), testing::IsEmpty());
  std::filesystem::last_write_time(log, before + std::chrono::seconds(1));
  EXPECT_THAT(doctor::LogTail(log, before), testing::ElementsAre(L"a line"));
}

TEST(Doctor, AJoinedHostNeedsNoRuntime) {
  SoundMachine machine;
  machine.SetVariable(L"JAVA_HOME", std::nullopt);
  const doctor::Facts facts = Examine(machine, L"report.exe", true);
  EXPECT_FALSE(facts.runtime.has_value());
  EXPECT_EQ(doctor::WorstOf(facts), doctor::Severity::Note);
}

TEST(Doctor, AFolderOutsideTheCodePageIsOneFinding) {
  SoundMachine machine;
  const std::wstring odd = L"C:\\\x65E5\x672C";
  machine.SetVariable(L"CLASSPATH", odd + L"\\a.jar;" + odd + L"\\b\\b.jar;" + odd + L"\\b\\c.jar");
  const doctor::Facts facts = Examine(machine, kUnknown);
  EXPECT_THAT(facts.notInCodePage, testing::ElementsAre(odd));
  EXPECT_EQ(std::count_if(facts.findings.begin(), facts.findings.end(),
                          [](const doctor::Finding& each) { return each.id == doctor::FindingId::CodePage; }),
            1);
}

}  // namespace
}  // namespace qvtest
