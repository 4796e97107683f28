// What one call through the service costs beside the same JNI calls written by hand, on one thread of a warm JVM.
#include <algorithm>
#include <cstdarg>
#include <cstring>

#include "base/compiler.h"
#include "benchmarks/host.h"
#include "host/qvshr.h"

namespace {

using bench::Batch;
using bench::Host;
using bench::Need;
using bench::Report;

// A host by hand, in the habit of one: look up, call, look for an exception.
template <class Result, auto Function>
QV_NOINLINE Result CallByHand(JNIEnv* env, jclass cls, jobject object, const char* name, const char* signature, ...) {
  Result result{};
  if (const jmethodID id = env->GetMethodID(cls, name, signature)) {
    va_list arguments;
    va_start(arguments, signature);
    result = (env->*Function)(object, id, arguments);
    va_end(arguments);
  }
  if (env->ExceptionOccurred() != nullptr) bench::Die(std::string("an exception in ") + name);
  return result;
}

template <auto Function>
QV_NOINLINE void CallVoidByHand(JNIEnv* env, jclass cls, jobject object, const char* name, const char* signature, ...) {
  if (const jmethodID id = env->GetMethodID(cls, name, signature)) {
    va_list arguments;
    va_start(arguments, signature);
    (env->*Function)(object, id, arguments);
    va_end(arguments);
  }
  if (env->ExceptionOccurred() != nullptr) bench::Die(std::string("an exception in ") + name);
}

template <auto Function>
QV_NOINLINE auto CallStaticByHand(JNIEnv* env, jclass cls, const char* name, const char* signature, ...) {
  decltype((env->*Function)(cls, nullptr, va_list{})) result{};
  if (const jmethodID id = env->GetStaticMethodID(cls, name, signature)) {
    va_list arguments;
    va_start(arguments, signature);
    result = (env->*Function)(cls, id, arguments);
    va_end(arguments);
  }
  if (env->ExceptionOccurred() != nullptr) bench::Die(std::string("an exception in ") + name);
  return result;
}

template <class T>
uint64_t Bits(T value) {
  uint64_t bits = 0;
  std::memcpy(&bits, &value, sizeof(value));
  return bits;
}

jclass Class(JNIEnv* env, const char* name) { return Need(env->FindClass(name), name); }

jobject Boxed(JNIEnv* env, const char* cls, const char* signature, jvalue value) {
  const jclass boxed = Class(env, cls);
  return Need(env->CallStaticObjectMethodA(boxed, env->GetStaticMethodID(boxed, "valueOf", signature), &value), cls);
}

template <auto Slot, class HostResult, class Result, auto Function>
void CompareTyped(Report& report, Host& host, const char* title, jclass cls, jobject object, const char* name,
                  const char* signature) {
  IQV_JavaVM* const vm = host.Vm();
  JNIEnv* const env = host.Env();
  report.Compare(
      title, 1.05,
      [=](size_t times) {
        uint64_t sum = 0;
        for (size_t i = 0; i < times; ++i) {
          HostResult result{};
          if ((vm->*Slot)(&result, cls, object, name, signature) != QV_S_OK) bench::Die(title);
          sum += Bits(result);
        }
        return sum;
      },
      [=](size_t times) {
        uint64_t sum = 0;
        for (size_t i = 0; i < times; ++i) {
          sum += Bits(static_cast<HostResult>(CallByHand<Result, Function>(env, cls, object, name, signature)));
        }
        return sum;
      });
}

void TypedCalls(Report& report, Host& host) {
  JNIEnv* const env = host.Env();
  IQV_JavaVM* const vm = host.Vm();
  const jclass number = Class(env, "java/lang/Number");
  jvalue seven{};
  seven.i = 1234567;
  const jobject integer = Boxed(env, "java/lang/Integer", "(I)Ljava/lang/Integer;", seven);
  const jobject text = env->NewStringUTF("not empty");
  const jclass string = Class(env, "java/lang/String");
  const jclass object = Class(env, "java/lang/Object");
  const jclass list = Class(env, "java/util/ArrayList");
  const jobject emptyList = env->NewObject(list, env->GetMethodID(list, "<init>", "()V"));

  CompareTyped<&IQV_JavaVM::CallIntMethod, int32_t, jint, &JNIEnv::CallIntMethodV>(report, host, "CallIntMethod",
                                                                                   number, integer, "intValue", "()I");
  CompareTyped<&IQV_JavaVM::CallShortMethod, int16_t, jshort, &JNIEnv::CallShortMethodV>(
      report, host, "CallShortMethod", number, integer, "shortValue", "()S");
  CompareTyped<&IQV_JavaVM::CallFloatMethod, float, jfloat, &JNIEnv::CallFloatMethodV>(
      report, host, "CallFloatMethod", number, integer, "floatValue", "()F");
  CompareTyped<&IQV_JavaVM::CallDoubleMethod, double, jdouble, &JNIEnv::CallDoubleMethodV>(
      report, host, "CallDoubleMethod", number, integer, "doubleValue", "()D");
  CompareTyped<&IQV_JavaVM::CallByteMethod, int8_t, jbyte, &JNIEnv::CallByteMethodV>(
      report, host, "CallByteMethod", number, integer, "byteValue", "()B");
  CompareTyped<&IQV_JavaVM::CallLongMethod, int64_t, jlong, &JNIEnv::CallLongMethodV>(
      report, host, "CallLongMethod", number, integer, "longValue", "()J");
  CompareTyped<&IQV_JavaVM::CallBooleanMethod, int32_t, jboolean, &JNIEnv::CallBooleanMethodV>(
      report, host, "CallBooleanMethod", string, text, "isEmpty", "()Z");
  report.Compare(
      "CallVoidMethod", 1.05,
      [=](size_t times) {
        for (size_t i = 0; i < times; ++i) {
          if (vm->CallVoidMethod(list, emptyList, "clear", "()V") != QV_S_OK) bench::Die("clear");
        }
        return 0;
      },
      [=](size_t times) {
        for (size_t i = 0; i < times; ++i) {
          CallVoidByHand<&JNIEnv::CallVoidMethodV>(env, list, emptyList, "clear", "()V");
        }
        return 0;
      });
  report.Compare(
      "CallObjectMethod", 1.05,
      [=](size_t times) {
        uint64_t found = 0;
        for (size_t i = 0; i < times; ++i) {
          qv_jobject result = nullptr;
          vm->CallObjectMethod(&result, object, text, "getClass", "()Ljava/lang/Class;");
          found += result != nullptr ? 1U : 0U;
          env->DeleteLocalRef(static_cast<jobject>(result));
        }
        return found;
      },
      [=](size_t times) {
        uint64_t found = 0;
        for (size_t i = 0; i < times; ++i) {
          const jobject result =
              CallByHand<jobject, &JNIEnv::CallObjectMethodV>(env, object, text, "getClass", "()Ljava/lang/Class;");
          found += result != nullptr ? 1U : 0U;
          env->DeleteLocalRef(result);
        }
        return found;
      });
  const jclass boolean = Class(env, "java/lang/Boolean");
  report.Compare(
      "CallStaticBooleanMethod", 1.05,
      [=](size_t times) {
        uint64_t sum = 0;
        for (size_t i = 0; i < times; ++i) {
          int32_t result = 0;
          vm->CallStaticBooleanMethod(&result, boolean, "logicalXor", "(ZZ)Z", 1, 0);
          sum += static_cast<uint64_t>(result);
        }
        return sum;
      },
      [=](size_t times) {
        uint64_t sum = 0;
        for (size_t i = 0; i < times; ++i) {
          sum += CallStaticByHand<&JNIEnv::CallStaticBooleanMethodV>(env, boolean, "logicalXor", "(ZZ)Z", 1, 0);
        }
        return sum;
      });
}

void ClassesAndStrings(Report& report, Host& host) {
  JNIEnv* const env = host.Env();
  IQV_JavaVM* const vm = host.Vm();
  report.Compare(
      "FindClass of a loaded class", 1.05,
      [=](size_t times) {
        uint64_t found = 0;
        for (size_t i = 0; i < times; ++i) {
          qv_jclass cls = nullptr;
          found += vm->FindClass(&cls, "java/util/ArrayList") == QV_S_OK ? 1U : 0U;
          env->DeleteLocalRef(static_cast<jobject>(cls));
        }
        return found;
      },
      [=](size_t times) {
        uint64_t found = 0;
        for (size_t i = 0; i < times; ++i) {
          env->ExceptionClear();
          const jclass cls = env->FindClass("java/util/ArrayList");
          found += cls != nullptr ? 1U : 0U;
          env->DeleteLocalRef(cls);
        }
        return found;
      });

  static const std::wstring kText =
      L"Ein Text von hundert Zeichen, wie ihn ein Bericht hat: Gr\u00fc\u00dfe aus "
      L"K\u00f6ln, 12.345,67 \u20ac, und noch ein paar W\u00f6rter.";
  const auto length = static_cast<jsize>(kText.size());
  const auto* const units = reinterpret_cast<const jchar*>(kText.c_str());
  report.Compare(
      "NewString, 100 characters", 1.05,
      [=](size_t times) {
        uint64_t found = 0;
        for (size_t i = 0; i < times; ++i) {
          qv_jstring string = nullptr;
          found += vm->NewString(&string, kText.c_str()) == QV_S_OK ? 1U : 0U;
          env->DeleteLocalRef(static_cast<jobject>(string));
        }
        return found;
      },
      [=](size_t times) {
        uint64_t found = 0;
        for (size_t i = 0; i < times; ++i) {
          const jstring string = env->NewString(units, static_cast<jsize>(std::wcslen(kText.c_str())));
          found += string != nullptr ? 1U : 0U;
          env->DeleteLocalRef(string);
        }
        return found;
      });

  const jstring string = env->NewString(units, length);
  report.Compare(
      "GetStringChars, 100 characters", 1.05,
      [=](size_t times) {
        uint64_t sum = 0;
        for (size_t i = 0; i < times; ++i) {
          wchar_t buffer[512];
          int32_t size = 512;
          if (vm->GetStringChars(buffer, &size, string) != QV_S_OK) bench::Die("GetStringChars");
          sum += buffer[i % 100];
        }
        return sum;
      },
      [=](size_t times) {
        uint64_t sum = 0;
        for (size_t i = 0; i < times; ++i) {
          wchar_t buffer[512];
          buffer[0] = L'\0';
          const jsize count = env->GetStringLength(string);
          const jchar* const characters = env->GetStringChars(string, nullptr);
          std::memcpy(buffer, characters, static_cast<size_t>(count) * sizeof(jchar));
          buffer[count] = L'\0';
          env->ReleaseStringChars(string, characters);
          sum += buffer[i % 100];
        }
        return sum;
      });
  report.Compare(
      "GetStringValue, 100 characters", 1.05,
      [=](size_t times) {
        uint64_t sum = 0;
        for (size_t i = 0; i < times; ++i) {
          IQvString* text = nullptr;
          if (vm->GetStringValue(&text, string) != QV_S_OK) bench::Die("GetStringValue");
          sum += static_cast<uint64_t>(text->GetLength());
          text->Release();
        }
        return sum;
      },
      [=](size_t times) {
        uint64_t sum = 0;
        for (size_t i = 0; i < times; ++i) {
          IQvString* text = nullptr;
          const auto count = static_cast<size_t>(env->GetStringLength(string));
          const jchar* const characters = env->GetStringChars(string, nullptr);
          wchar_t terminated[128];  // JNI promises no null behind the characters
          *std::copy_n(characters, count, terminated) = L'\0';
          QvshrCreateString(terminated, &text);
          env->ReleaseStringChars(string, characters);
          sum += static_cast<uint64_t>(text->GetLength());
          text->Release();
        }
        return sum;
      });

  const jclass builder = Class(env, "java/lang/StringBuilder");
  const Batch construct = [=](size_t times) {
    uint64_t found = 0;
    for (size_t i = 0; i < times; ++i) {
      qv_jobject object = nullptr;
      found += vm->NewObject(&object, builder, "(I)", 16) == QV_S_OK ? 1U : 0U;
      env->DeleteLocalRef(static_cast<jobject>(object));
    }
    return found;
  };
  const auto byHand = [=](size_t times, auto&& signature) {
    uint64_t found = 0;
    for (size_t i = 0; i < times; ++i) {
      const jmethodID id = env->GetMethodID(builder, "<init>", signature());
      const jobject object = env->NewObject(builder, id, 16);
      found += object != nullptr ? 1U : 0U;
      env->DeleteLocalRef(object);
    }
    return found;
  };
  report.Compare("NewObject with one argument", 1.05, construct,
                 [=](size_t times) { return byHand(times, [] { return "(I)V"; }); });
  // What it costs the JVM to read a text that was written just before.
  report.Compare("NewObject, twin completes the signature too", 1.05, construct, [=](size_t times) {
    char completed[513];
    return byHand(times, [&] { return std::strcat(std::strcpy(completed, "(I)"), "V"); });
  });
}

// Integer.parseInt-like failure: an instance call that throws, and its text as a host string.
void Failures(Report& report, Host& host) {
  JNIEnv* const env = host.Env();
  IQV_JavaVM* const vm = host.Vm();
  const jclass list = Class(env, "java/util/ArrayList");
  const jobject empty = env->NewObject(list, env->GetMethodID(list, "<init>", "()V"));
  const char* const name = "get";
  const char* const signature = "(I)Ljava/lang/Object;";
  report.Compare(
      "a failing call to readable text", 1.10,
      [=](size_t times) {
        uint64_t sum = 0;
        for (size_t i = 0; i < times; ++i) {
          env->PushLocalFrame(16);
          qv_jobject result = nullptr;
          IQvString* text = nullptr;
          vm->CallObjectMethod(&result, list, empty, name, signature, 3);
          if (vm->GetErrorText(&text) < 0) bench::Die("no text");
          sum += static_cast<uint64_t>(text->GetLength());
          text->Release();
          env->PopLocalFrame(nullptr);
        }
        return sum;
      },
      [=](size_t times) {
        uint64_t sum = 0;
        for (size_t i = 0; i < times; ++i) {
          env->PushLocalFrame(16);
          jvalue three{};
          three.i = 3;
          env->CallObjectMethodA(empty, env->GetMethodID(list, name, signature), &three);
          const jthrowable exception = env->ExceptionOccurred();
          env->ExceptionDescribe();
          env->ExceptionClear();
          const jclass throwable = env->FindClass("java/lang/Throwable");
          const jmethodID toString = env->GetMethodID(throwable, "toString", "()Ljava/lang/String;");
          const auto string = static_cast<jstring>(env->CallObjectMethod(exception, toString));
          const jsize length = env->GetStringLength(string);
          const jchar* const characters = env->GetStringChars(string, nullptr);
          const std::wstring text(reinterpret_cast<const wchar_t*>(characters), static_cast<size_t>(length));
          env->ReleaseStringChars(string, characters);
          env->ExceptionClear();
          sum += text.size() + 1;
          env->PopLocalFrame(nullptr);
        }
        return sum;
      });
}

void ByteArrays(Report& report, Host& host) {
  JNIEnv* const env = host.Env();
  IQV_JavaVM* const vm = host.Vm();
  for (const auto& [label, length] : {std::pair{"64 B", 64}, {"64 KiB", 64 << 10}, {"16 MiB", 16 << 20}}) {
    const jsize count = length;
    const auto size = static_cast<size_t>(count);
    const auto array = Need(env->NewByteArray(count), "a byte array");
    std::vector<jbyte> bytes(size, 42);
    jbyte* const data = bytes.data();
    report.Compare(
        std::string("SetByteArrayData, ") + label, 1.05,
        [=](size_t times) {
          for (size_t i = 0; i < times; ++i) vm->SetByteArrayData(array, 0, data, count);
          return static_cast<uint64_t>(data[0]);
        },
        [=](size_t times) {
          for (size_t i = 0; i < times; ++i) {
            jbyte* const elements = env->GetByteArrayElements(array, nullptr);
            if (env->ExceptionOccurred() != nullptr) bench::Die("elements");
            std::memcpy(elements, data, size);
            env->ReleaseByteArrayElements(array, elements, 0);
            if (env->ExceptionOccurred() != nullptr) bench::Die("elements");
          }
          return static_cast<uint64_t>(data[0]);
        });
    report.Compare(
        std::string("GetByteArrayData, ") + label, 1.05,
        [=](size_t times) {
          data[size - 1] = 0;
          for (size_t i = 0; i < times; ++i) vm->GetByteArrayData(array, 0, count, data);
          return static_cast<uint64_t>(data[size - 1]);
        },
        [=](size_t times) {
          data[size - 1] = 0;
          for (size_t i = 0; i < times; ++i) {
            jbyte* const elements = env->GetByteArrayElements(array, nullptr);
            if (env->ExceptionOccurred() != nullptr) bench::Die("elements");
            std::memcpy(data, elements, size);
            env->ReleaseByteArrayElements(array, elements, JNI_ABORT);
            if (env->ExceptionOccurred() != nullptr) bench::Die("elements");
          }
          return static_cast<uint64_t>(data[size - 1]);
        });
    env->DeleteLocalRef(array);
  }
}

void Objects(Report& report, Host& host) {
  const QV_CreateJavaVMFn create = host.Create();
  report.Measure("second and later QV_CreateJavaVM, with Release", 200, [=](size_t times) {
    for (size_t i = 0; i < times; ++i) {
      IQV_JavaVM* vm = nullptr;
      if (create(&vm, nullptr) != QV_S_OK) bench::Die("QV_CreateJavaVM");
      vm->Release();
    }
    return times;
  });
}

}  // namespace

int main(int argc, char** argv) {
  const bench::CommandLine line = bench::ReadCommandLine(argc, argv);
  // Described exceptions go to the standard error of the process; they would drown the figures.
  SetStdHandle(STD_ERROR_HANDLE, CreateFileW(L"NUL", GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                             OPEN_EXISTING, 0, nullptr));
  Host host;
  Report report("calls", line.settings);
  host.Describe(report);
  host.Env()->PushLocalFrame(256);
  TypedCalls(report, host);
  ClassesAndStrings(report, host);
  Failures(report, host);
  ByteArrays(report, host);
  Objects(report, host);
  host.Env()->PopLocalFrame(nullptr);
  return report.Write(line.json) ? 0 : 1;
}
