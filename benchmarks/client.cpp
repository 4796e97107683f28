// The C++ client against hand-written JNI that keeps its classes and ids and checks for exceptions, as a careful host
// would write it.
#include <array>
#include <atomic>
#include <thread>

#include "benchmarks/host.h"
#include "qvjvm/qvjvm.hpp"

namespace {

using bench::Host;
using bench::Need;
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
  static jstring NewString(JNIEnv* env, std::wstring_view text) {
    return env->NewString(reinterpret_cast<const jchar*>(text.data()), static_cast<jsize>(text.size()));
  }
  static std::wstring Text(JNIEnv* env, jstring string) {
    const jsize length = env->GetStringLength(string);
    std::wstring text(static_cast<size_t>(length), L'\0');
    env->GetStringRegion(string, 0, length, reinterpret_cast<jchar*>(text.data()));
    return text;
  }
  static void Check(JNIEnv* env) {
    if (env->ExceptionCheck() != JNI_FALSE) bench::Die("an exception");
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
  const bench::Batch rawSize = [=](size_t times) {
    uint64_t sum = 1;
    for (size_t i = 0; i < times; ++i) {
      sum += static_cast<uint64_t>(env->CallIntMethod(byHand, raw.size));
      ByHand::Check(env);
    }
    return sum;
  };
  const auto size = list->get_class().find_method<int32_t()>("size");
  report.Compare(
      "int method, resolved", 1.02,
      [=](size_t times) {
        uint64_t sum = 1;
        for (size_t i = 0; i < times; ++i) sum += static_cast<uint64_t>(size(*list));
        return sum;
      },
      rawSize);
  report.Compare(
      "int method, named at compile time", 1.02,
      [=](size_t times) {
        uint64_t sum = 1;
        for (size_t i = 0; i < times; ++i) sum += static_cast<uint64_t>(list->call<"size", int32_t>());
        return sum;
      },
      rawSize);

  const bench::Batch rawParse = [=](size_t times) {
    uint64_t sum = 1;
    for (size_t i = 0; i < times; ++i) {
      const jstring text = ByHand::NewString(env, kNumber);
      ByHand::Check(env);
      sum += static_cast<uint64_t>(env->CallStaticIntMethod(raw.integer, raw.parse, text));
      ByHand::Check(env);
      env->DeleteLocalRef(text);
    }
    return sum;
  };
  const auto parse = java.find_class("java/lang/Integer").find_static_method<int32_t(std::wstring_view)>("parseInt");
  report.Compare(
      "static call with a string, resolved", 1.08,
      [=](size_t times) {
        uint64_t sum = 1;
        for (size_t i = 0; i < times; ++i) sum += static_cast<uint64_t>(parse(kNumber));
        return sum;
      },
      rawParse);
  report.Compare(
      "static call with a string, named at compile time", 1.08,
      [=](size_t times) {
        uint64_t sum = 1;
        for (size_t i = 0; i < times; ++i) {
          sum += static_cast<uint64_t>(Integer::call_static<"parseInt", int32_t>(java, kNumber));
        }
        return sum;
      },
      rawParse);

  const bench::Batch rawCreate = [=](size_t times) {
    uint64_t sum = 1;
    for (size_t i = 0; i < times; ++i) {
      const jobject made = env->NewObject(raw.list, raw.listInit);
      ByHand::Check(env);
      sum += static_cast<uint64_t>(env->CallIntMethod(made, raw.size));
      ByHand::Check(env);
      env->DeleteLocalRef(made);
    }
    return sum;
  };
  const auto construct = list->get_class().find_constructor<qvjvm::object()>();
  report.Compare(
      "create an object and call it, resolved", 1.02,
      [=](size_t times) {
        uint64_t sum = 1;
        for (size_t i = 0; i < times; ++i) sum += static_cast<uint64_t>(size(construct(java)));
        return sum;
      },
      rawCreate);
  report.Compare(
      "create an object and call it, at compile time", 1.02,
      [=](size_t times) {
        uint64_t sum = 1;
        for (size_t i = 0; i < times; ++i) {
          sum += static_cast<uint64_t>(ArrayList::create(java).call<"size", int32_t>());
        }
        return sum;
      },
      rawCreate);
}

void TextAndArrays(Report& report, const qvjvm::thread_jvm& java, const ByHand& raw) {
  auto* const env = static_cast<JNIEnv*>(java.env());
  report.Compare(
      "string of 100 characters there and back", 1.05,
      [=](size_t times) {
        uint64_t sum = 1;
        for (size_t i = 0; i < times; ++i) {
          sum += String::call_static<"valueOf", std::wstring(qvjvm::object)>(java, kText).size();
        }
        return sum;
      },
      [=](size_t times) {
        uint64_t sum = 1;
        for (size_t i = 0; i < times; ++i) {
          const jstring text = ByHand::NewString(env, kText);
          ByHand::Check(env);
          const auto back = static_cast<jstring>(env->CallStaticObjectMethod(raw.string, raw.valueOf, text));
          ByHand::Check(env);
          sum += ByHand::Text(env, back).size();
          env->DeleteLocalRef(back);
          env->DeleteLocalRef(text);
        }
        return sum;
      });

  constexpr jsize count = 64 << 10;
  const auto bytes = std::make_shared<std::array<std::vector<int8_t>, 2>>();
  bytes->fill(std::vector<int8_t>(count, 42));
  report.Compare(
      "byte[] of 64 KiB there and back", 1.0,
      [=](size_t times) {
        auto& [from, into] = *bytes;
        for (size_t i = 0; i < times; ++i) {
          const auto array = qvjvm::array<int8_t>::make(java, from);
          array.get_region(0, std::span(into).first(static_cast<size_t>(array.length())));
        }
        return static_cast<uint64_t>(into[count - 1]);
      },
      [=](size_t times) {
        auto& [from, into] = *bytes;
        for (size_t i = 0; i < times; ++i) {
          const jbyteArray array = env->NewByteArray(count);
          ByHand::Check(env);
          env->SetByteArrayRegion(array, 0, count, reinterpret_cast<const jbyte*>(from.data()));
          ByHand::Check(env);
          env->GetByteArrayRegion(array, 0, env->GetArrayLength(array), reinterpret_cast<jbyte*>(into.data()));
          ByHand::Check(env);
          env->DeleteLocalRef(array);
        }
        return static_cast<uint64_t>(into[count - 1]);
      });
}

void Failures(Report& report, const qvjvm::thread_jvm& java, const ByHand& raw) {
  auto* const env = static_cast<JNIEnv*>(java.env());
  const bench::Batch byHand = [=](size_t times) {
    uint64_t sum = 1;
    for (size_t i = 0; i < times; ++i) {
      const jstring text = ByHand::NewString(env, L"seventeen");
      ByHand::Check(env);
      (void)env->CallStaticIntMethod(raw.integer, raw.parse, text);
      if (env->ExceptionCheck() != JNI_FALSE) sum += raw.Failure(env).size();
      env->DeleteLocalRef(text);
    }
    return sum;
  };
  report.Compare(
      "exception to text, try_", 1.15,
      [=](size_t times) {
        uint64_t sum = 1;
        for (size_t i = 0; i < times; ++i) {
          const auto parsed = Integer::try_call_static<"parseInt", int32_t>(java, L"seventeen");
          if (!parsed) sum += parsed.reason().message().size();
        }
        return sum;
      },
      byHand);
  report.Compare(
      "exception to text, thrown", 2.5,
      [=](size_t times) {
        uint64_t sum = 1;
        for (size_t i = 0; i < times; ++i) {
          try {
            (void)Integer::call_static<"parseInt", int32_t>(java, L"seventeen");
          } catch (const qvjvm::java_error& error) {
            sum += error.message().size();
          }
        }
        return sum;
      },
      byHand);
}

template <class Work>
uint64_t OnFour(size_t times, const Work& work) {
  std::atomic<uint64_t> sum = 0;
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) threads.emplace_back([&] { sum += work(times); });
  for (std::thread& thread : threads) thread.join();
  return sum;
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
        return OnFour(times, [&](size_t rounds) {
          const qvjvm::thread_jvm here = java.on_this_thread();
          uint64_t sum = 0;
          for (size_t i = 0; i < rounds * 250; ++i) {
            const auto list = ArrayList::create(here);
            sum += static_cast<uint64_t>(list.call<"size", int32_t>());
            sum += static_cast<uint64_t>(Integer::call_static<"parseInt", int32_t>(here, kNumber));
            sum += String::call_static<"valueOf", std::wstring(qvjvm::object)>(here, kNumber).size();
          }
          return sum;
        });
      },
      [=](size_t times) {
        return OnFour(times, [&](size_t rounds) {
          JNIEnv* const env = attach();
          uint64_t sum = 0;
          for (size_t i = 0; i < rounds * 250; ++i) {
            const jobject list = env->NewObject(raw.list, raw.listInit);
            ByHand::Check(env);
            sum += static_cast<uint64_t>(env->CallIntMethod(list, raw.size));
            ByHand::Check(env);
            jstring text = ByHand::NewString(env, kNumber);
            ByHand::Check(env);
            sum += static_cast<uint64_t>(env->CallStaticIntMethod(raw.integer, raw.parse, text));
            ByHand::Check(env);
            env->DeleteLocalRef(text);
            text = ByHand::NewString(env, kNumber);
            ByHand::Check(env);
            const auto back = static_cast<jstring>(env->CallStaticObjectMethod(raw.string, raw.valueOf, text));
            ByHand::Check(env);
            sum += ByHand::Text(env, back).size();
            env->DeleteLocalRef(back);
            env->DeleteLocalRef(text);
            env->DeleteLocalRef(list);
          }
          jvm->DetachCurrentThread();
          return sum;
        });
      });
  report.Compare(
      "fresh thread to its end", 1.03,
      [=](size_t times) {
        std::atomic<uint64_t> sum = 0;
        for (size_t i = 0; i < times; ++i) {
          std::thread([&] {
            sum += static_cast<uint64_t>(Integer::call_static<"parseInt", int32_t>(java, kNumber));
          }).join();
        }
        return sum.load();
      },
      [=](size_t times) {
        std::atomic<uint64_t> sum = 0;
        for (size_t i = 0; i < times; ++i) {
          std::thread([&] {
            JNIEnv* const env = attach();
            const jstring text = ByHand::NewString(env, kNumber);
            ByHand::Check(env);
            sum += static_cast<uint64_t>(env->CallStaticIntMethod(raw.integer, raw.parse, text));
            ByHand::Check(env);
            jvm->DetachCurrentThread();
          }).join();
        }
        return sum.load();
      });
}

void ByName(Report& report, const qvjvm::thread_jvm& java) {
  auto* const env = static_cast<JNIEnv*>(java.env());
  report.Compare(
      "by name: find_class", 1.05,
      [=](size_t times) {
        uint64_t sum = 1;
        for (size_t i = 0; i < times; ++i) sum += java.find_class("java/util/ArrayList") ? 1U : 0U;
        return sum;
      },
      [=](size_t times) {
        uint64_t sum = 1;
        for (size_t i = 0; i < times; ++i) {
          const jclass cls = env->FindClass("java/util/ArrayList");
          ByHand::Check(env);
          sum += cls != nullptr ? 1U : 0U;
          env->DeleteLocalRef(cls);
        }
        return sum;
      });
  const auto list = std::make_shared<ArrayList>(java.create<"java/util/ArrayList">());
  const auto byHand = static_cast<jobject>(list->get());
  report.Compare(
      "by name: call", 1.05,
      [=](size_t times) {
        uint64_t sum = 1;
        for (size_t i = 0; i < times; ++i) sum += static_cast<uint64_t>(list->call<int32_t>("size"));
        return sum;
      },
      [=](size_t times) {
        uint64_t sum = 1;
        for (size_t i = 0; i < times; ++i) {
          const jclass cls = env->GetObjectClass(byHand);
          const jmethodID size = env->GetMethodID(cls, "size", "()I");
          ByHand::Check(env);
          env->DeleteLocalRef(cls);
          sum += static_cast<uint64_t>(env->CallIntMethod(byHand, size));
          ByHand::Check(env);
        }
        return sum;
      });
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
