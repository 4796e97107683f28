// The C++ client against hand-written JNI that keeps its classes and ids and checks for exceptions, as a careful host
// would write it.
#include <array>

#include "benchmarks/host.h"
#include "qvjvm/callbacks.hpp"

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

// ---- Java calls the host ----

using Twin = qvjvm::instance<"bench/Twin">;
using Operator = qvjvm::instance<"java/util/function/IntUnaryOperator">;
using Comparator = qvjvm::instance<"java/util/Comparator">;
using Runnable = qvjvm::instance<"java/lang/Runnable">;
using Input = qvjvm::instance<"java/io/InputStream">;

// The functions of the hand-written side, with the ids that they keep. Its Java objects know one of these by address.
struct CallsByHand {
  using Function = jobject (*)(JNIEnv* env, CallsByHand& on, jobjectArray arguments);

  Function function;
  uint64_t count = 0;

  static inline jclass integer;
  static inline jmethodID intValue, valueOf;
  static inline const std::vector<jbyte> block = std::vector<jbyte>(64 << 10, 42);
  static inline std::vector<jbyte> buffer = std::vector<jbyte>(64 << 10);

  static void Find(JNIEnv* env) {
    integer = ByHand::Class(env, "java/lang/Integer");
    intValue = env->GetMethodID(integer, "intValue", "()I");
    valueOf = env->GetStaticMethodID(integer, "valueOf", "(I)Ljava/lang/Integer;");
  }
  static jobject Call(JNIEnv* env, jclass, jlong target, jobjectArray arguments) {
    auto& on = *reinterpret_cast<CallsByHand*>(target);
    return on.function(env, on, arguments);
  }
  static jobject Run(JNIEnv*, CallsByHand& on, jobjectArray) {
    ++on.count;
    return nullptr;
  }
  static jobject Apply(JNIEnv* env, CallsByHand&, jobjectArray arguments) {
    const jobject box = env->GetObjectArrayElement(arguments, 0);
    const jint value = env->CallIntMethod(box, intValue);
    if (env->ExceptionCheck() != JNI_FALSE) return nullptr;
    env->DeleteLocalRef(box);
    return env->CallStaticObjectMethod(integer, valueOf, value + 1);
  }
  static jobject Compare(JNIEnv* env, CallsByHand&, jobjectArray arguments) {
    const jobject left = env->GetObjectArrayElement(arguments, 0);
    const jobject right = env->GetObjectArrayElement(arguments, 1);
    const jint order = env->IsSameObject(left, right) != JNI_FALSE ? 0 : 1;
    env->DeleteLocalRef(left);
    env->DeleteLocalRef(right);
    return env->CallStaticObjectMethod(integer, valueOf, order);
  }
  static jint Native(JNIEnv*, jclass, jint value) { return value + 1; }
  static jint Read(JNIEnv* env, jobject, jbyteArray into, jint first, jint count) {
    std::memcpy(buffer.data(), block.data(), static_cast<size_t>(count));
    env->SetByteArrayRegion(into, first, count, buffer.data());
    return env->ExceptionCheck() != JNI_FALSE ? -1 : count;
  }
};

template <class Function>
void Bind(JNIEnv* env, const char* cls, const char* name, const char* signature, Function* function) {
  JNINativeMethod method{const_cast<char*>(name), const_cast<char*>(signature), reinterpret_cast<void*>(function)};
  if (env->RegisterNatives(Need(env->FindClass(cls), cls), &method, 1) != JNI_OK) bench::Die(name);
}

// Java calls one object of ours and one by hand, which have to say the same.
template <class Object, class Drive>
void CompareCallbacks(Report& report, const qvjvm::thread_jvm& java, const char* name, const Object& ours,
                      const char* interfaceName, CallsByHand::Function byHand, const Drive& drive) {
  const auto target = std::make_shared<CallsByHand>(CallsByHand{byHand});
  const auto twin = std::make_shared<qvjvm::object>(Twin::call_static<"make", qvjvm::object(qvjvm::class_ref, int64_t)>(
      java, java.find_class(interfaceName), static_cast<int64_t>(reinterpret_cast<intptr_t>(target.get()))));
  const auto own = std::make_shared<qvjvm::object>(ours.copy());
  report.Compare(
      name, 1.15, [=](size_t times) { return drive(*own, static_cast<int32_t>(times)); },
      [=](size_t times) { return target->function == nullptr ? 0 : drive(*twin, static_cast<int32_t>(times)); });
}

void Callbacks(Report& report, const qvjvm::thread_jvm& java) {
  auto* const env = static_cast<JNIEnv*>(java.env());
  CallsByHand::Find(env);
  Bind(env, "bench/Twin", "call", "(J[Ljava/lang/Object;)Ljava/lang/Object;", &CallsByHand::Call);
  const auto count = std::make_shared<uint64_t>(0);
  CompareCallbacks(
      report, java, "callback: Runnable", qvjvm::implement<"java/lang/Runnable">(java, [count] { ++*count; }),
      "java/lang/Runnable", &CallsByHand::Run, [=](const qvjvm::object& on, int32_t times) {
        return static_cast<uint64_t>(Twin::call_static<"run", int64_t(Runnable, int32_t)>(java, on, times));
      });
  CompareCallbacks(
      report, java, "callback: int from int",
      qvjvm::implement<"java/util/function/IntUnaryOperator">(java, [](int32_t value) { return value + 1; }),
      "java/util/function/IntUnaryOperator", &CallsByHand::Apply, [=](const qvjvm::object& on, int32_t times) {
        return static_cast<uint64_t>(Twin::call_static<"apply", int64_t(Operator, int32_t)>(java, on, times));
      });
  const auto left = std::make_shared<qvjvm::object>(java.new_string("left"));
  const auto right = std::make_shared<qvjvm::object>(java.new_string("right"));
  CompareCallbacks(
      report, java, "callback: int from two objects",
      qvjvm::implement<"java/util/Comparator">(
          java, [](const qvjvm::object& one, const qvjvm::object& other) { return one.same_as(other) ? 0 : 1; }),
      "java/util/Comparator", &CallsByHand::Compare, [=](const qvjvm::object& on, int32_t times) {
        using compare = int64_t(Comparator, qvjvm::object, qvjvm::object, int32_t);
        return static_cast<uint64_t>(Twin::call_static<"compare", compare>(java, on, *left, *right, times));
      });
}

int32_t Native(int32_t value) { return value + 1; }

void NativesAndStreams(Report& report, const qvjvm::thread_jvm& java) {
  auto* const env = static_cast<JNIEnv*>(java.env());
  Bind(env, "bench/Twin", "byHand", "(I)I", &CallsByHand::Native);
  qvjvm::register_natives<"bench/Twin">(java, qvjvm::static_native<"byClient", &Native>);
  // Registering one method leaves the other as it is.
  report.Compare(
      "native method: int from int", 1.05,
      [=](size_t times) {
        return static_cast<uint64_t>(Twin::call_static<"callByClient", int64_t>(java, static_cast<int32_t>(times)));
      },
      [=](size_t times) {
        return static_cast<uint64_t>(Twin::call_static<"callByHand", int64_t>(java, static_cast<int32_t>(times)));
      });

  Bind(env, "bench/Twin$Stream", "read", "([BII)I", &CallsByHand::Read);
  const auto ours = std::make_shared<qvjvm::global>(qvjvm::new_input_stream(java, [](std::span<std::byte> into) {
    std::memcpy(into.data(), CallsByHand::block.data(), into.size());
    return into.size();
  }));
  const auto byHand = std::make_shared<qvjvm::global>(java.create<"bench/Twin$Stream">());
  const auto read = [=](const qvjvm::global& from, size_t times) {
    return static_cast<uint64_t>(Twin::call_static<"read", int64_t(Input, int32_t)>(java, from.on_this_thread<Input>(),
                                                                                    static_cast<int32_t>(times)));
  };
  report.Compare(
      "stream: a block of 64 KiB from a function", 1.05, [=](size_t times) { return read(*ours, times); },
      [=](size_t times) { return read(*byHand, times); });
}

}  // namespace

int main(int argc, char** argv) {
  const bench::CommandLine line = bench::ReadCommandLine(argc, argv);
  Host host(L"bench.jar");
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
  Callbacks(report, here);
  NativesAndStreams(report, here);
  return report.Write(line.json) ? 0 : 1;
}
