// The C++ client against hand-written JNI that keeps its classes and ids and checks for exceptions, as a careful host
// would write it.
#include <array>

#include "benchmarks/host.h"
#include "qvjvm/qvjvm.hpp"

namespace {

using bench::Batch;
using bench::Host;
using bench::Need;
using bench::Repeat;
using bench::Report;

using ArrayList = qvjvm::instance<"java/util/ArrayList">;
using Integer = qvjvm::instance<"java/lang/Integer">;
using String = qvjvm::instance<"java/lang/String">;

constexpr std::wstring_view kNumber = L"12345";
const std::wstring kText(100, L'\u00fc');

// What the hand-written side keeps for its life.
struct ByHand {
  explicit ByHand(JNIEnv* from) {
    list = Class(from, "java/util/ArrayList");
    integer = Class(from, "java/lang/Integer");
    string = Class(from, "java/lang/String");
    throwable = Class(from, "java/lang/Throwable");
    listInit = from->GetMethodID(list, "<init>", "()V");
    size = from->GetMethodID(list, "size", "()I");
    parse = from->GetStaticMethodID(integer, "parseInt", "(Ljava/lang/String;)I");
    valueOf = from->GetStaticMethodID(string, "valueOf", "(Ljava/lang/Object;)Ljava/lang/String;");
    toString = from->GetMethodID(throwable, "toString", "()Ljava/lang/String;");
  }

  static jclass Class(JNIEnv* env, const char* name) {
    return static_cast<jclass>(env->NewGlobalRef(Need(env->FindClass(name), name)));
  }
  static void Check(JNIEnv* env) {
    if (env->ExceptionCheck() != JNI_FALSE) bench::Die("an exception");
  }
  static jstring NewString(JNIEnv* env, std::wstring_view text) {
    const jstring made = env->NewString(reinterpret_cast<const jchar*>(text.data()), static_cast<jsize>(text.size()));
    Check(env);
    return made;
  }
  static std::wstring Text(JNIEnv* env, jstring string) {
    const jsize length = env->GetStringLength(string);
    std::wstring text(static_cast<size_t>(length), L'\0');
    env->GetStringRegion(string, 0, length, reinterpret_cast<jchar*>(text.data()));
    return text;
  }
  jobject NewList(JNIEnv* env) const {
    const jobject made = env->NewObject(list, listInit);
    Check(env);
    return made;
  }
  jint Size(JNIEnv* env, jobject of) const {
    const jint count = env->CallIntMethod(of, size);
    Check(env);
    return count;
  }
  jint Parse(JNIEnv* env) const {
    const jstring text = NewString(env, kNumber);
    const jint number = env->CallStaticIntMethod(integer, parse, text);
    Check(env);
    env->DeleteLocalRef(text);
    return number;
  }
  std::wstring ThereAndBack(JNIEnv* env, std::wstring_view sent) const {
    const jstring text = NewString(env, sent);
    const auto back = static_cast<jstring>(env->CallStaticObjectMethod(string, valueOf, text));
    Check(env);
    std::wstring received = Text(env, back);
    env->DeleteLocalRef(back);
    env->DeleteLocalRef(text);
    return received;
  }
  // The text of the pending exception.
  std::wstring Failure(JNIEnv* env) const {
    const jthrowable exception = env->ExceptionOccurred();
    env->ExceptionClear();
    const auto said = static_cast<jstring>(env->CallObjectMethod(exception, toString));
    Check(env);
    std::wstring text = Text(env, said);
    env->DeleteLocalRef(said);
    env->DeleteLocalRef(exception);
    return text;
  }

  jclass list, integer, string, throwable;
  jmethodID listInit, size, parse, valueOf, toString;
};

void Calls(Report& report, const qvjvm::thread_jvm& java, const ByHand& raw) {
  auto* const env = static_cast<JNIEnv*>(java.env());
  const auto list = std::make_shared<ArrayList>(java.create<"java/util/ArrayList">());
  const auto byHand = static_cast<jobject>(list->get());
  const Batch rawSize = Repeat([=] { return raw.Size(env, byHand); });
  const auto size = list->get_class().find_method<int32_t()>("size");
  report.Compare("int method, resolved", 1.02, Repeat([=] { return size(*list); }), rawSize);
  report.Compare("int method, named at compile time", 1.02, Repeat([=] { return list->call<"size", int32_t>(); }),
                 rawSize);

  const Batch rawParse = Repeat([=] { return raw.Parse(env); });
  const auto parse = java.find_class("java/lang/Integer").find_static_method<int32_t(std::wstring_view)>("parseInt");
  report.Compare("static call with a string, resolved", 1.08, Repeat([=] { return parse(kNumber); }), rawParse);
  report.Compare("static call with a string, named at compile time", 1.08,
                 Repeat([=] { return Integer::call_static<"parseInt", int32_t>(java, kNumber); }), rawParse);

  const Batch rawCreate = Repeat([=] {
    const jobject made = raw.NewList(env);
    const jint count = raw.Size(env, made);
    env->DeleteLocalRef(made);
    return count;
  });
  const auto construct = list->get_class().find_constructor<qvjvm::object()>();
  report.Compare("create an object and call it, resolved", 1.02, Repeat([=] { return size(construct(java)); }),
                 rawCreate);
  report.Compare("create an object and call it, at compile time", 1.02,
                 Repeat([=] { return ArrayList::create(java).call<"size", int32_t>(); }), rawCreate);
}

void TextAndArrays(Report& report, const qvjvm::thread_jvm& java, const ByHand& raw) {
  auto* const env = static_cast<JNIEnv*>(java.env());
  report.Compare("string of 100 characters there and back", 1.05, Repeat([=] {
                   return String::call_static<"valueOf", std::wstring(qvjvm::object)>(java, kText).size();
                 }),
                 Repeat([=] { return raw.ThereAndBack(env, kText).size(); }));

  constexpr jsize count = 64 << 10;
  const auto bytes = std::make_shared<std::array<std::vector<int8_t>, 2>>();
  bytes->fill(std::vector<int8_t>(count, 42));
  report.Compare("byte[] of 64 KiB there and back", 1.0, Repeat([=] {
                   auto& [from, into] = *bytes;
                   const auto array = qvjvm::array<int8_t>::make(java, from);
                   array.get_region(0, std::span(into).first(static_cast<size_t>(array.length())));
                   return into[count - 1];
                 }),
                 Repeat([=] {
                   auto& [from, into] = *bytes;
                   const jbyteArray array = env->NewByteArray(count);
                   ByHand::Check(env);
                   env->SetByteArrayRegion(array, 0, count, reinterpret_cast<const jbyte*>(from.data()));
                   ByHand::Check(env);
                   env->GetByteArrayRegion(array, 0, env->GetArrayLength(array), reinterpret_cast<jbyte*>(into.data()));
                   ByHand::Check(env);
                   env->DeleteLocalRef(array);
                   return into[count - 1];
                 }));
}

void Failures(Report& report, const qvjvm::thread_jvm& java, const ByHand& raw) {
  auto* const env = static_cast<JNIEnv*>(java.env());
  const Batch byHand = Repeat([=] {
    const jstring text = ByHand::NewString(env, L"seventeen");
    (void)env->CallStaticIntMethod(raw.integer, raw.parse, text);
    const size_t said = env->ExceptionCheck() != JNI_FALSE ? raw.Failure(env).size() : 0;
    env->DeleteLocalRef(text);
    return said;
  });
  report.Compare("exception to text, try_", 1.15, Repeat([=] {
                   const auto parsed = Integer::try_call_static<"parseInt", int32_t>(java, L"seventeen");
                   return parsed ? 0 : parsed.reason().message().size();
                 }),
                 byHand);
  report.Compare("exception to text, thrown", 2.5, Repeat([=]() -> size_t {
                   try {
                     (void)Integer::call_static<"parseInt", int32_t>(java, L"seventeen");
                     return 0;
                   } catch (const qvjvm::java_error& error) {
                     return error.message().size();
                   }
                 }),
                 byHand);
}

void Threads(Report& report, const qvjvm::jvm& java, const ByHand& raw) {
  JavaVM* jvm = nullptr;
  static_cast<JNIEnv*>(java.env())->GetJavaVM(&jvm);
  const auto attach = [jvm] {
    JNIEnv* env = nullptr;
    if (jvm->AttachCurrentThread(reinterpret_cast<void**>(&env), nullptr) != JNI_OK) bench::Die("attach");
    return env;
  };
  report.Compare(
      "1,000 mixed calls on each of 4 threads", 1.05,
      [=](size_t times) {
        return bench::AtOnce(4, times, [&](size_t rounds) {
          const qvjvm::thread_jvm here = java.on_this_thread();
          return bench::Sum(rounds * 250, [&] {
            const auto list = ArrayList::create(here);
            const int32_t number =
                list.call<"size", int32_t>() + Integer::call_static<"parseInt", int32_t>(here, kNumber);
            return static_cast<size_t>(number) +
                   String::call_static<"valueOf", std::wstring(qvjvm::object)>(here, kNumber).size();
          });
        });
      },
      [=](size_t times) {
        return bench::AtOnce(4, times, [&](size_t rounds) {
          JNIEnv* const env = attach();
          const uint64_t sum = bench::Sum(rounds * 250, [&] {
            const jobject list = raw.NewList(env);
            const jint number = raw.Size(env, list) + raw.Parse(env);
            const size_t length = raw.ThereAndBack(env, kNumber).size();
            env->DeleteLocalRef(list);
            return static_cast<size_t>(number) + length;
          });
          jvm->DetachCurrentThread();
          return sum;
        });
      });
  report.Compare(
      "fresh thread to its end", 1.03,
      [=](size_t times) {
        return bench::OnNewThreads(times, [&] { return Integer::call_static<"parseInt", int32_t>(java, kNumber); });
      },
      [=](size_t times) {
        return bench::OnNewThreads(times, [&] {
          const jint parsed = raw.Parse(attach());
          jvm->DetachCurrentThread();
          return parsed;
        });
      });
}

void ByName(Report& report, const qvjvm::thread_jvm& java) {
  auto* const env = static_cast<JNIEnv*>(java.env());
  report.Compare("by name: find_class", 1.05, Repeat([=] { return java.find_class("java/util/ArrayList") ? 1 : 0; }),
                 Repeat([=] {
                   const jclass cls = env->FindClass("java/util/ArrayList");
                   ByHand::Check(env);
                   env->DeleteLocalRef(cls);
                   return cls != nullptr ? 1 : 0;
                 }));
  const auto list = std::make_shared<ArrayList>(java.create<"java/util/ArrayList">());
  const auto byHand = static_cast<jobject>(list->get());
  report.Compare("by name: call", 1.05, Repeat([=] { return list->call<int32_t>("size"); }), Repeat([=] {
                   const jclass cls = env->GetObjectClass(byHand);
                   const jmethodID size = env->GetMethodID(cls, "size", "()I");
                   ByHand::Check(env);
                   env->DeleteLocalRef(cls);
                   const jint count = env->CallIntMethod(byHand, size);
                   ByHand::Check(env);
                   return count;
                 }));
}

}  // namespace

int main(int argc, char** argv) {
  const bench::CommandLine line = bench::ReadCommandLine(argc, argv);
  Host host;
  Report report("client", line.settings);
  host.Describe(report);
  const qvjvm::jvm java = qvjvm::jvm::share(host.Vm());
  const qvjvm::thread_jvm here = java.on_this_thread();
  const ByHand raw(host.Env());
  Calls(report, here, raw);
  TextAndArrays(report, here, raw);
  Failures(report, here, raw);
  Threads(report, java, raw);
  ByName(report, here);
  return report.Write(line.json) ? 0 : 1;
}
