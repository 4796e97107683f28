// From the start of a process to the first PDF on disk, and to the later ones: a process for each, the ways in turn.
//   bench_first-result JARS REPORT [--quick] [--json FILE]   the driver; JAVA_HOME is the Java runtime, JARS holds FOP
//   first_result.exe HOW WORK DOCUMENTS REPORT PDF [OPTION...]  one process of the driver's
// HOW: "raw", hand-written JNI; "start", the service; "async", the service beside the host's own work; "list", which
// prints besides what an archive of classes has to be made with; "record", hand-written JNI with the options alone,
// which ends by System.exit, when Java writes what it recorded; "dump", which makes an archive. WORK: steps of the
// host's own work. OPTION: of the JVM, or "compiled"; without any the service is as it comes.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>

#include "benchmarks/host.h"
#include "qvjvm/qvjvm.hpp"

namespace {

namespace fs = std::filesystem;
using nlohmann::json;

fs::path OwnProgram() {
  wchar_t path[1024];
  GetModuleFileNameW(nullptr, path, 1024);
  return path;
}

// The class path of the built-in tree.
constexpr const wchar_t* kJars[] = {L"build\\fop.jar",       L"lib\\batik.jar",
                                    L"lib\\xalan-2.4.1.jar", L"lib\\xercesImpl-2.2.1.jar",
                                    L"lib\\xml-apis.jar",    L"lib\\avalon-framework-cvs-20020806.jar",
                                    L"lib\\logkit-1.0.jar"};

// -- the host's own work --

uint64_t Work(uint64_t steps) {
  uint64_t state = 1;
  for (uint64_t i = 0; i < steps; ++i) state = state * 6364136223846793005U + (state >> 29U);
  return state;
}

// The steps of 0.67 s on this machine as it is now.
uint64_t StepsOfTheHost() {
  // Atomic, so that the compiler works between the two readings of the clock.
  static std::atomic<uint64_t> trial = 100'000'000;
  static std::atomic<uint64_t> sink;
  const double begin = bench::NowNs();
  sink = Work(trial);
  return static_cast<uint64_t>(0.67e9 / (bench::NowNs() - begin) * static_cast<double>(trial));
}

// -- one document --

using driver = qvjvm::instance<"org/apache/fop/apps/Driver">;
using output_stream = qvjvm::instance<"java/io/OutputStream">;
using uri = qvjvm::instance<"java/net/URI">;

void MakeWithClient(const qvjvm::jvm& java, const std::string& report, const std::string& pdf) {
  const auto address = java.create<"java/io/File">(report).call<"toURI", uri>();
  const auto folder = address.call<"resolve", uri>(".").call<"toASCIIString", std::string>();
  const auto output = java.create<"java/io/FileOutputStream">(pdf);
  (void)java.create<"org/apache/fop/apps/Options">();
  java.call_static<"org/apache/fop/configuration/Configuration", "put", void(std::string, qvjvm::object)>("baseDir",
                                                                                                          folder);
  const auto fop = driver::create(java);
  fop.call<"setRenderer">(1);
  fop.call<"setOutputStream", void(output_stream)>(output);
  fop.call<"setInputSource">(java.create<"org/xml/sax/InputSource">(address.call<"toASCIIString", std::string>()));
  fop.call<"run">();
  output.call<"close">();
}

// The same calls by hand.
class RawJni {
 public:
  explicit RawJni(JNIEnv* env) : m_env(env) {}

  void Make(const std::string& report, const std::string& pdf) {
    m_env->PushLocalFrame(64);
    jobject file = New("java/io/File", "(Ljava/lang/String;)V", Text(report));
    jobject address = Call(file, "toURI", "()Ljava/net/URI;");
    jobject folder = Call(address, "resolve", "(Ljava/lang/String;)Ljava/net/URI;", Text("."));
    jobject output = New("java/io/FileOutputStream", "(Ljava/lang/String;)V", Text(pdf));
    New("org/apache/fop/apps/Options", "()V");
    jclass settings = Class("org/apache/fop/configuration/Configuration");
    jmethodID put = Checked(m_env->GetStaticMethodID(settings, "put", "(Ljava/lang/String;Ljava/lang/Object;)V"));
    m_env->CallStaticVoidMethod(settings, put, Text("baseDir"), Call(folder, "toASCIIString", "()Ljava/lang/String;"));
    jobject fop = New("org/apache/fop/apps/Driver", "()V");
    CallVoid(fop, "setRenderer", "(I)V", jint{1});
    CallVoid(fop, "setOutputStream", "(Ljava/io/OutputStream;)V", output);
    CallVoid(fop, "setInputSource", "(Lorg/xml/sax/InputSource;)V",
             New("org/xml/sax/InputSource", "(Ljava/lang/String;)V",
                 Call(address, "toASCIIString", "()Ljava/lang/String;")));
    CallVoid(fop, "run", "()V");
    CallVoid(output, "close", "()V");
    m_env->PopLocalFrame(nullptr);
  }

  void Exit() {
    jclass system = Class("java/lang/System");
    m_env->CallStaticVoidMethod(system, Checked(m_env->GetStaticMethodID(system, "exit", "(I)V")), jint{0});
  }

 private:
  template <class Value>
  Value Checked(Value value) {
    if (m_env->ExceptionCheck() != JNI_FALSE) {
      m_env->ExceptionDescribe();
      bench::Die("Java raised an exception");
    }
    return value;
  }
  jstring Text(const std::string& text) { return Checked(m_env->NewStringUTF(text.c_str())); }
  jclass Class(const char* name) { return Checked(m_env->FindClass(name)); }
  jmethodID Method(jclass cls, const char* name, const char* type) {
    return Checked(m_env->GetMethodID(cls, name, type));
  }
  template <class... Arguments>
  jobject New(const char* name, const char* type, Arguments... arguments) {
    jclass cls = Class(name);
    return Checked(m_env->NewObject(cls, Method(cls, "<init>", type), arguments...));
  }
  template <class... Arguments>
  jobject Call(jobject object, const char* name, const char* type, Arguments... arguments) {
    return Checked(m_env->CallObjectMethod(object, Method(m_env->GetObjectClass(object), name, type), arguments...));
  }
  template <class... Arguments>
  void CallVoid(jobject object, const char* name, const char* type, Arguments... arguments) {
    m_env->CallVoidMethod(object, Method(m_env->GetObjectClass(object), name, type), arguments...);
    Checked(0);
  }

  JNIEnv* m_env;
};

JNIEnv* CreateJavaVM(std::vector<std::string> texts) {
  const fs::path runtime = bench::Need(_wgetenv(L"JAVA_HOME"), "JAVA_HOME");
  SetDllDirectoryW((runtime / L"bin").c_str());
  const HMODULE library = bench::Need(LoadLibraryW((runtime / L"bin" / L"server" / L"jvm.dll").c_str()), "jvm.dll");
  using CreateFn = jint(JNICALL*)(JavaVM**, void**, void*);
  const auto create = reinterpret_cast<CreateFn>(reinterpret_cast<void*>(GetProcAddress(library, "JNI_CreateJavaVM")));
  std::vector<JavaVMOption> options;
  for (std::string& text : texts) options.push_back({text.data(), nullptr});
  JavaVMInitArgs arguments = {JNI_VERSION_1_2, static_cast<jint>(options.size()), options.data(), JNI_FALSE};
  JavaVM* vm = nullptr;
  void* env = nullptr;
  if (create(&vm, &env, &arguments) != JNI_OK) bench::Die("JNI_CreateJavaVM");
  return static_cast<JNIEnv*>(env);
}

std::vector<std::string> OptionsByHand() {
  std::string classPath = "-Djava.class.path=";
  for (const wchar_t* const jar : kJars) {
    classPath += (OwnProgram().parent_path() / L"fop-0.20.5" / jar).string() + ";";
  }
  return {classPath + ".", "-Xmx128m"};
}

// -- one process --

// Both in milliseconds: the steady clock, which is the whole machine's, and what this process has had of the
// processors.
std::string Now() {
  FILETIME created{};
  FILETIME ended{};
  FILETIME kernel{};
  FILETIME user{};
  GetProcessTimes(GetCurrentProcess(), &created, &ended, &kernel, &user);
  const auto of = [](const FILETIME& time) {
    return static_cast<double>((uint64_t{time.dwHighDateTime} << 32U) + time.dwLowDateTime) / 1e4;
  };
  char text[64];
  std::snprintf(text, sizeof text, "time %.3f %.1f\n", bench::NowNs() / 1e6, of(kernel) + of(user));
  return text;
}

// What the service gave the JVM.
void PrintArguments(const qvjvm::jvm& java) {
  const auto bean = java.call_static<"java/lang/management/ManagementFactory", "getRuntimeMXBean",
                                     qvjvm::instance<"java/lang/management/RuntimeMXBean">>();
  for (const auto& argument :
       qvjvm::elements<std::string>(bean.call<"getInputArguments", qvjvm::instance<"java/util/List">>())) {
    std::printf("%s\n", argument.c_str());
  }
}

struct Job {
  std::string how;
  uint64_t work;
  int documents;
  std::string report;
  std::string pdf;
  std::vector<std::string> options;
};

qvjvm::options Asked(const Job& job) {
  qvjvm::options asked;
  bool listed = false;
  for (const std::string& option : job.options) {
    if (option == "compiled") {
      asked.compiled();
      continue;
    }
    if (!listed) asked.heap(uint64_t{128} << 20U);  // as the built-in options have it, in whose place these stand
    listed = true;
    asked.option(option);
  }
  return asked;
}

[[noreturn]] void RunJob(const Job& job) {
  if (job.how == "dump") {
    CreateJavaVM(job.options);  // before Java 25 that is the end of the process
    std::_Exit(0);
  }
  if (job.how == "record") {
    RawJni jni(CreateJavaVM(job.options));
    jni.Make(job.report, job.pdf);
    jni.Exit();
  }
  std::string times;
  const auto make = [&](const auto& document) {
    for (int i = 0; i < job.documents; ++i) {
      document();
      times += Now();
    }
  };
  static std::atomic<uint64_t> sink;
  try {
    qvjvm::starting_jvm starting;
    if (job.how == "async") starting = qvjvm::jvm::start_async(Asked(job));
    sink = Work(job.work);
    if (job.how == "raw") {
      RawJni jni(CreateJavaVM(OptionsByHand()));
      make([&] { jni.Make(job.report, job.pdf); });
    } else {
      const qvjvm::jvm java = job.how == "async" ? starting.get() : qvjvm::jvm::start(Asked(job));
      make([&] { MakeWithClient(java, job.report, job.pdf); });
      if (job.how == "list") {
        PrintArguments(java);
        std::printf("-Djava.class.path=%s\n", qvjvm::detail::to_utf8(java.class_path()).c_str());
        times.clear();
      }
    }
  } catch (const qvjvm::error& error) {
    bench::Die(error.what());
  }
  std::printf("%s", times.c_str());
  std::fflush(stdout);
  std::_Exit(0);
}

// -- the driver --

enum class Kept { Nothing, Archive, AotCache };

struct Way {
  std::string name;
  std::wstring how;
  bool ownWork;
  std::vector<std::wstring> options{};
  Kept kept = Kept::Nothing;
  std::string against{};  // what the limits compare it with
  double firstLimit = 0;
  double laterLimit = 0;
};

struct Figures {
  std::vector<double> first;  // milliseconds since the start of the process
  std::vector<double> cpu;    // of the process until then
  std::vector<double> later;  // each document
  std::vector<double> laterCpu;
};

class FirstResult {
 public:
  FirstResult(const fs::path& jars, const fs::path& report, bench::Report& results)
      : m_folder(OwnProgram().parent_path() / L"bench-first-result"), m_report(report), m_results(results) {
    fs::create_directories(m_folder);
    for (const wchar_t* const file : {L"qvjvm.dll", L"qvshr.dll"}) {
      Copy(OwnProgram().parent_path() / file, m_folder / file);
    }
    Copy(OwnProgram(), m_folder / L"first_result.exe");
    if (!fs::exists(m_folder / L"fop-0.20.5")) {
      fs::remove_all(m_folder / L"fop.new");
      fs::copy(jars / L"fop-0.20.5", m_folder / L"fop.new", fs::copy_options::recursive);
      fs::rename(m_folder / L"fop.new", m_folder / L"fop-0.20.5");
    }
    if (!results.Options().quick) m_work = StepsOfTheHost();
  }

  // An archive of the classes of the very job, with the service's own class paths, and the proof that it is used. Where
  // the runtime refuses the host's classes, one of Java's own alone.
  void MakeArchive() {
    const fs::path list = m_folder / L"classes.txt";
    m_archive = m_folder / L"classes.jsa";
    // Java 17 takes no archive with a host's classes while nothing of the boot class path is there.
    std::ofstream(m_folder / L"nothing.jar", std::ios::binary) << std::string("PK\5\6") + std::string(18, '\0');
    Way way = {"", L"list", false, {L"compiled", L"-XX:+UseSerialGC"}};
    way.options.push_back(L"-XX:DumpLoadedClassList=" + list.wstring());
    way.options.push_back(Nothing());
    const Paths paths = PathsIn(*Run(way, 1));
    for (const bool whole : {true, false}) {
      Remove(m_archive);
      std::wstring dump = Line(L"dump", 0, 0) + L" -Xshare:dump -XX:+UseSerialGC -Xlog:disable";
      dump += L" \"-XX:SharedClassListFile=" + list.wstring() + L"\"";
      dump += L" \"-XX:SharedArchiveFile=" + m_archive.wstring() + L"\"" + paths.boot + (whole ? paths.host : L"");
      (void)bench::RunChild(dump);
      if (!fs::exists(m_archive)) bench::Die("no archive was made");
      if (!Run({"", L"start", false, {L"compiled", L"-XX:+UseSerialGC", L"-Xshare:on"}, Kept::Archive}, 1)) continue;
      m_results.Fact("archive", whole ? "all classes" : "Java's own classes");
      m_results.Note("archive", static_cast<double>(fs::file_size(m_archive)), "bytes");
      return;
    }
    bench::Die("no archive was used");
  }

  // The same as the AOT cache that Java has from 25 on, which holds linked classes and profiles as well. Nothing that
  // was recorded with a class path with a folder in it can be made one, and the service's ends in ";."; so the job is
  // recorded by hand.
  void MakeAotCache() {
    const fs::path recorded = m_folder / L"recorded.aotconf";
    m_aotCache = m_folder / L"classes.aot";
    const Paths paths = PathsIn(*Run({"", L"list", false, {L"compiled", L"-XX:+UseSerialGC", Nothing()}}, 1));
    const std::wstring common = L" -XX:+UseSerialGC -Xlog:disable \"-XX:AOTConfiguration=" + recorded.wstring() +
                                L"\"" + paths.boot + paths.host;
    (void)bench::RunChild(Line(L"record", 0, 1) + L" -XX:AOTMode=record" + common);
    Remove(m_aotCache);
    (void)bench::RunChild(Line(L"dump", 0, 0) + L" -XX:AOTMode=create" + common + L" \"-XX:AOTCache=" +
                          m_aotCache.wstring() + L"\"");
    if (!fs::exists(m_aotCache)) bench::Die("no AOT cache was made");
    if (!Run({"", L"start", false, {L"compiled", L"-XX:+UseSerialGC", L"-XX:AOTMode=on"}, Kept::AotCache}, 1)) {
      bench::Die("no AOT cache was used");
    }
    m_results.Note("AOT cache", static_cast<double>(fs::file_size(m_aotCache)), "bytes");
  }

  void Compare(const std::vector<Way>& ways) {
    const bool quick = m_results.Options().quick;
    std::vector<Figures> figures(ways.size());
    for (int round = 0; round < (quick ? 1 : kRounds); ++round) {
      // Each way stands at each place of the round in turn.
      for (size_t i = 0; i < ways.size(); ++i) {
        const size_t at = (i + static_cast<size_t>(round)) % ways.size();
        Measure(ways[at], quick ? 2 : kDocuments, figures[at]);
      }
    }
    for (size_t at = 0; at < ways.size(); ++at) Tell(ways, figures, at);
  }

 private:
  static constexpr int kRounds = 7;
  static constexpr int kDocuments = 6;

  static void Copy(const fs::path& from, const fs::path& to) {
    if (!CopyFileW(from.c_str(), to.c_str(), FALSE)) bench::Die("no copy of " + from.string());
  }

  // The JVM makes its archives read-only.
  static void Remove(const fs::path& archive) {
    SetFileAttributesW(archive.c_str(), FILE_ATTRIBUTE_NORMAL);
    fs::remove(archive);
  }

  // Options in quotes for a command line.
  struct Paths {
    std::wstring boot;
    std::wstring host;
  };
  static Paths PathsIn(const std::string& arguments) {
    Paths paths;
    std::istringstream lines(arguments);
    for (std::string line; std::getline(lines, line);) {
      if (line.starts_with("-Xbootclasspath/a:")) paths.boot += L" \"" + qvjvm::detail::to_utf16(line) + L"\"";
      if (!line.starts_with("-Djava.class.path=")) continue;
      if (line.ends_with(";.")) line.resize(line.size() - 2);  // a folder is none of an archive's
      paths.host = L" \"" + qvjvm::detail::to_utf16(line) + L"\"";
    }
    return paths;
  }

  [[nodiscard]] fs::path Pdf() const { return m_folder / L"report.pdf"; }

  [[nodiscard]] std::wstring Line(const std::wstring& how, uint64_t work, int documents) const {
    return L"\"" + (m_folder / L"first_result.exe").wstring() + L"\" " + how + L" " + std::to_wstring(work) + L" " +
           std::to_wstring(documents) + L" \"" + m_report.wstring() + L"\" \"" + Pdf().wstring() + L"\"";
  }

  [[nodiscard]] std::wstring Nothing() const { return L"-Xbootclasspath/a:" + (m_folder / L"nothing.jar").wstring(); }

  // What the process printed; nothing when it failed.
  std::optional<std::string> Run(const Way& way, int documents) {
    std::wstring line = Line(way.how, way.ownWork ? m_work : 0, documents);
    for (const std::wstring& option : way.options) line += L" \"" + option + L"\"";
    if (way.kept == Kept::Archive) line += L" \"-XX:SharedArchiveFile=" + m_archive.wstring() + L"\"";
    if (way.kept == Kept::AotCache) line += L" \"-XX:AOTCache=" + m_aotCache.wstring() + L"\"";
    if (way.kept != Kept::Nothing) line += L" \"" + Nothing() + L"\"";
    fs::remove(Pdf());
    std::optional<std::string> output = bench::RunChild(line);
    if (!output) return output;
    std::ifstream file(Pdf(), std::ios::binary);
    const std::string pdf{std::istreambuf_iterator<char>(file), {}};
    if (!pdf.starts_with("%PDF") || pdf.find("%%EOF") == std::string::npos) bench::Die("no PDF by: " + way.name);
    if (m_pdfBytes != 0 && pdf.size() != m_pdfBytes) bench::Die("another PDF by: " + way.name);
    m_pdfBytes = pdf.size();
    return output;
  }

  // The JVM may have printed something before.
  static std::string TimesOf(const std::string& output) {
    std::string times;
    std::istringstream lines(output);
    for (std::string line; std::getline(lines, line);) {
      if (line.starts_with("time ")) times += line.substr(5) + "\n";
    }
    return times;
  }

  void Measure(const Way& way, int documents, Figures& into) {
    const double begin = bench::NowNs() / 1e6;
    const std::optional<std::string> printed = Run(way, documents);
    if (!printed) bench::Die("a process failed: " + way.name);
    std::istringstream output(TimesOf(*printed));
    double before = 0;
    double cpuBefore = 0;
    std::vector<double> later;
    std::vector<double> laterCpu;
    for (int i = 0; i < documents; ++i) {
      double now = 0;
      double cpu = 0;
      if (!(output >> now >> cpu)) bench::Die("no times by: " + way.name);
      if (i == 0) {
        into.first.push_back(now - begin);
        into.cpu.push_back(cpu);
      } else {
        later.push_back(now - before);
        laterCpu.push_back(cpu - cpuBefore);
      }
      before = now;
      cpuBefore = cpu;
    }
    // Of a process's later documents the median, since they become quicker.
    into.later.push_back(bench::Summarize(later).median);
    into.laterCpu.push_back(bench::Summarize(laterCpu).median);
  }

  // The median of the rounds' ratios, and their quartiles.
  static json Ratio(const std::vector<double>& of, const std::vector<double>& to) {
    std::vector<double> ratios;
    for (size_t i = 0; i < of.size(); ++i) ratios.push_back(of[i] / to[i]);
    return Spread(ratios);
  }
  static json Spread(std::vector<double> values) {
    const bench::Sample sample = bench::Summarize(values);
    return {{"median", sample.median}, {"q1", sample.low}, {"q3", sample.high}};
  }

  void Tell(const std::vector<Way>& ways, const std::vector<Figures>& figures, size_t at) {
    const Way& way = ways[at];
    json result = {{"name", way.name},
                   {"first", Spread(figures[at].first)},
                   {"cpu", Spread(figures[at].cpu)},
                   {"later", Spread(figures[at].later)},
                   {"laterCpu", Spread(figures[at].laterCpu)}};
    std::printf("%-70s first %6.0f ms (cpu %6.0f)  later %5.0f ms (cpu %5.0f)", way.name.c_str(),
                result["first"]["median"].get<double>(), result["cpu"]["median"].get<double>(),
                result["later"]["median"].get<double>(), result["laterCpu"]["median"].get<double>());
    for (size_t other = 0; other < ways.size(); ++other) {
      if (way.against.empty() || ways[other].name != way.against) continue;
      result["against"] = way.against;
      result["firstRatio"] = Ratio(figures[at].first, figures[other].first);
      result["laterRatio"] = Ratio(figures[at].later, figures[other].later);
      result["firstLimit"] = way.firstLimit;
      result["laterLimit"] = way.laterLimit;
      std::printf("  %.3f and %.3f of: %s", result["firstRatio"]["median"].get<double>(),
                  result["laterRatio"]["median"].get<double>(), way.against.c_str());
    }
    std::printf("\n");
    std::fflush(stdout);
    m_results.Add(result);
  }

  fs::path m_folder;
  fs::path m_report;
  fs::path m_archive;
  fs::path m_aotCache;
  bench::Report& m_results;
  uint64_t m_work = 1'000'000;
  size_t m_pdfBytes = 0;
};

// What a host may choose from, and the two ways that everything is compared with.
std::vector<Way> Ways(bool interpretedByDefault, bool aotCache, bool quick) {
  const std::wstring c1 = L"-XX:TieredStopAtLevel=1";
  const std::wstring serial = L"-XX:+UseSerialGC";
  const std::string raw = "hand-written JNI";
  const std::string service = "the service as it comes";
  const std::string after = ", after 0.67 s of the host's own work";
  const std::string beside = ", beside 0.67 s of the host's own work";
  const std::string all = "compiled by C1 alone, serial collector, ";
  const Kept best = quick ? Kept::Nothing : Kept::Archive;
  std::vector<Way> ways = {{raw, L"raw", false}, {service, L"start", false, {}, Kept::Nothing, raw}};
  if (!quick) {
    if (interpretedByDefault) {
      ways.push_back({"compiled", L"start", false, {L"compiled"}, Kept::Nothing, service});
      ways.push_back({"interpreted, serial collector, archive", L"start", false, {serial}, Kept::Archive, service});
    }
    ways.push_back({"compiled by C1 alone", L"start", false, {L"compiled", c1}, Kept::Nothing, service});
    ways.push_back(
        {"compiled by C1 alone, serial collector", L"start", false, {L"compiled", c1, serial}, Kept::Nothing, service});
    ways.push_back({all + "archive", L"start", false, {L"compiled", c1, serial}, Kept::Archive, service});
    if (aotCache) {
      ways.push_back({all + "AOT cache", L"start", false, {L"compiled", c1, serial}, Kept::AotCache, service});
    }
    ways.push_back({raw + after, L"raw", true});
    ways.push_back({service + after, L"start", true, {}, Kept::Nothing, raw + after});
    ways.push_back({service + beside, L"async", true, {}, Kept::Nothing, service + after});
  }
  const std::string base = quick ? service : interpretedByDefault ? service + after : raw + after;
  ways.push_back({all + (quick ? "nothing kept" : "archive") + beside,
                  L"async",
                  true,
                  {L"compiled", c1, serial},
                  best,
                  base,
                  interpretedByDefault ? 0.8 : 0.7,
                  interpretedByDefault ? 0.2 : 0.0});
  return ways;
}

int Drive(int argc, char** argv) {
  if (argc < 3) bench::Die("usage: bench_first-result JARS REPORT [--quick] [--json FILE]");
  const bench::CommandLine line = bench::ReadCommandLine(argc - 2, argv + 2);
  const fs::path runtime = bench::Need(_wgetenv(L"JAVA_HOME"), "JAVA_HOME");
  bench::Report report("first-result", line.settings);
  report.Fact("java", runtime.filename().string());
  report.Fact("processors", std::to_string(GetActiveProcessorCount(ALL_PROCESSOR_GROUPS)));
  FirstResult first(fs::absolute(argv[1]), fs::absolute(argv[2]), report);
  const int version = std::atoi(runtime.filename().string().c_str());
  const bool aotCache = version >= 25;
  if (!line.settings.quick) {
    first.MakeArchive();
    if (aotCache) first.MakeAotCache();
  }
  first.Compare(Ways(version < 21, aotCache, line.settings.quick));
  return report.Write(line.json) ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc >= 6 && OwnProgram().filename() == L"first_result.exe") {
    Job job{argv[1], std::strtoull(argv[2], nullptr, 10), std::atoi(argv[3]), argv[4], argv[5], {}};
    for (int i = 6; i < argc; ++i) job.options.emplace_back(argv[i]);
    RunJob(job);
  }
  return Drive(argc, argv);
}
