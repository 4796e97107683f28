// Every JNI function that the client uses fails in turn, at its first call, its second, and so on, in a real JVM: each
// use of the client ends with a failure or as ever, leaves no exception pending, and gives every reference back.
#include <jni.h>

#include <array>
#include <functional>
#include <istream>
#include <map>
#include <thread>

#include "tests/client/c_host.h"
#include "tests/client/client_fixture.h"

namespace qvtest {
namespace {

using qvjvm::detail::place;

constexpr auto kNewStringUtf = place{167};  // the C++ client does without
constexpr size_t kTableSize = sizeof(JNINativeInterface_) / sizeof(void*);

// The calling thread's environment with a table of its own, which counts references and lets one call fail.
class FailingJni {
 public:
  // How a function fails.
  enum class Way { NullAndException, NullAlone, ErrorAndException, ExceptionAlone };

  explicit FailingJni(JNIEnv* env) : m_env(env), m_before(env->functions) {
    std::memcpy(m_table.data(), m_before, sizeof *m_before);
    m_error = static_cast<jclass>(env->NewGlobalRef(env->FindClass("java/lang/OutOfMemoryError")));
    Watch(std::make_index_sequence<kTableSize>());
    g_active = this;
    env->functions = reinterpret_cast<const JNINativeInterface_*>(m_table.data());
  }
  ~FailingJni() {
    m_env->functions = m_before;
    m_env->DeleteGlobalRef(m_error);
    g_active = nullptr;
  }
  FailingJni(const FailingJni&) = delete;
  FailingJni& operator=(const FailingJni&) = delete;

  void Begin(size_t at, Way way, int nth) {
    m_at = at;
    m_way = way;
    m_left = nth;
    m_locals = m_globals = 0;
  }
  [[nodiscard]] bool Failed() const { return m_left <= 0; }
  // From here on, inside a call of Java, a function of the host is at work: its calls are watched, too.
  static void EnterHostFunction() {
    if (g_active != nullptr) g_active->m_inside = false;
  }
  [[nodiscard]] int Locals() const { return m_locals; }
  [[nodiscard]] int Globals() const { return m_globals; }

 private:
  using Function = void* (*)(JNIEnv*, void*, void*, void*, void*, void*);

  static constexpr bool GivesLocal(size_t at) {
    for (const place each : {place::define_class, place::find_class, place::exception_occurred, place::new_local_ref,
                             place::new_object_a, place::get_object_class, place::call_method_a, place::get_field,
                             place::call_static_method_a, place::get_static_field, place::new_string, kNewStringUtf,
                             place::new_object_array, place::get_object_array_element, place::new_direct_byte_buffer}) {
      if (at == static_cast<size_t>(each)) return true;
    }
    const auto arrays = static_cast<size_t>(place::new_array);
    return at >= arrays && at < arrays + 8;
  }

  // Numbers with a point travel in other registers, and a few functions take part in no failure: they stay as they are.
  static constexpr bool Watched(size_t at) {
    const auto is = [at](place family, size_t step) { return at == static_cast<size_t>(family) + step; };
    for (const place family : {place::call_method_a, place::call_static_method_a}) {
      if (is(family, 21) || is(family, 24)) return false;
    }
    for (const place family : {place::get_field, place::set_field, place::get_static_field, place::set_static_field}) {
      if (is(family, 7) || is(family, 8)) return false;
    }
    return at >= 4 && at != 14 && !is(place::exception_check, 0) && !is(place::exception_clear, 0);
  }

  template <size_t... At>
  void Watch(std::index_sequence<At...>) {
    ((Watched(At) ? void(m_table[At] = reinterpret_cast<void*>(&Call<At>)) : void()), ...);
  }

  template <size_t At>
  static void* Call(JNIEnv* env, void* a, void* b, void* c, void* d, void* e) {
    FailingJni& self = *g_active;
    const auto original = reinterpret_cast<Function>((reinterpret_cast<void* const*>(self.m_before))[At]);
    // Java's own native methods use the same table, inside a call of ours; what they do is theirs.
    if (env != self.m_env || self.m_inside) return original(env, a, b, c, d, e);
    if (At == self.m_at && --self.m_left == 0) return self.Fail();
    self.m_inside = true;
    void* const result = original(env, a, b, c, d, e);
    self.m_inside = false;
    if (GivesLocal(At) && result != nullptr) ++self.m_locals;
    if (At == static_cast<size_t>(place::push_local_frame) && result == nullptr) self.m_frames.push_back(self.m_locals);
    if (At == static_cast<size_t>(place::pop_local_frame)) {
      self.m_locals = self.m_frames.back() + (result != nullptr ? 1 : 0);
      self.m_frames.pop_back();
    }
    if (At == static_cast<size_t>(place::delete_local_ref) && a != nullptr) --self.m_locals;
    if (At == static_cast<size_t>(place::new_global_ref) && result != nullptr) ++self.m_globals;
    if (At == static_cast<size_t>(place::new_global_ref) + 1 && a != nullptr) --self.m_globals;
    return result;
  }

  void* Fail() {
    if (m_way != Way::NullAlone) m_before->ThrowNew(m_env, m_error, "injected");
    return m_way == Way::ErrorAndException ? reinterpret_cast<void*>(intptr_t{JNI_ENOMEM}) : nullptr;
  }

  static inline FailingJni* g_active = nullptr;

  JNIEnv* m_env;
  const JNINativeInterface_* m_before;
  std::array<void*, kTableSize> m_table{};
  jclass m_error;
  size_t m_at = 0;
  Way m_way = Way::NullAlone;
  int m_left = 0;
  bool m_inside = false;
  int m_locals = 0;
  int m_globals = 0;
  std::vector<int> m_frames;  // how many there were before each
};

struct Function {
  const char* name;
  place family;
  size_t step;
  FailingJni::Way way;
};

using Way = FailingJni::Way;
const Function kFunctions[] = {
    {"DefineClass", place::define_class, 0, Way::NullAndException},
    {"RegisterNatives", place::register_natives, 0, Way::ErrorAndException},
    {"FindClass", place::find_class, 0, Way::NullAndException},
    {"PushLocalFrame", place::push_local_frame, 0, Way::ErrorAndException},
    {"NewGlobalRef", place::new_global_ref, 0, Way::NullAlone},
    {"NewLocalRef", place::new_local_ref, 0, Way::NullAlone},
    {"EnsureLocalCapacity", place::ensure_local_capacity, 0, Way::ErrorAndException},
    {"NewObjectA", place::new_object_a, 0, Way::NullAndException},
    {"GetMethodID", place::get_method_id, 0, Way::NullAndException},
    {"CallObjectMethodA", place::call_method_a, 0, Way::NullAndException},
    {"CallBooleanMethodA", place::call_method_a, 3, Way::NullAndException},
    {"CallIntMethodA", place::call_method_a, 15, Way::NullAndException},
    {"CallVoidMethodA", place::call_method_a, 27, Way::ExceptionAlone},
    {"GetFieldID", place::get_field_id, 0, Way::NullAndException},
    {"GetStaticMethodID", place::get_static_method_id, 0, Way::NullAndException},
    {"CallStaticObjectMethodA", place::call_static_method_a, 0, Way::NullAndException},
    {"CallStaticBooleanMethodA", place::call_static_method_a, 3, Way::NullAndException},
    {"CallStaticIntMethodA", place::call_static_method_a, 15, Way::NullAndException},
    {"CallStaticVoidMethodA", place::call_static_method_a, 27, Way::ExceptionAlone},
    {"GetStaticFieldID", place::get_static_field_id, 0, Way::NullAndException},
    {"NewString", place::new_string, 0, Way::NullAndException},
    {"NewStringUTF", kNewStringUtf, 0, Way::NullAndException},
    {"NewObjectArray", place::new_object_array, 0, Way::NullAndException},
    {"GetObjectArrayElement", place::get_object_array_element, 0, Way::NullAndException},
    {"SetObjectArrayElement", place::set_object_array_element, 0, Way::ExceptionAlone},
    {"NewByteArray", place::new_array, 1, Way::NullAndException},
    {"NewIntArray", place::new_array, 4, Way::NullAndException},
    {"GetIntArrayRegion", place::get_array_region, 4, Way::ExceptionAlone},
    {"SetIntArrayRegion", place::set_array_region, 4, Way::ExceptionAlone},
    {"GetByteArrayRegion", place::get_array_region, 1, Way::ExceptionAlone},
    {"SetByteArrayRegion", place::set_array_region, 1, Way::ExceptionAlone},
    {"UnregisterNatives", place::unregister_natives, 0, Way::ErrorAndException},
    {"GetPrimitiveArrayCritical", place::get_primitive_array_critical, 0, Way::NullAlone},
    {"NewDirectByteBuffer", place::new_direct_byte_buffer, 0, Way::NullAndException},
    {"GetDirectBufferAddress", place::get_direct_buffer_address, 0, Way::NullAlone},
};

using Sample = qvjvm::instance<"client/Sample">;

// Whether it went well; each begins with nothing looked up.
struct Use {
  const char* name;
  std::function<bool(const qvjvm::jvm&)> run;
};

// In braces, so that they come one after the other.
struct AllOf {
  template <class... Results>
  explicit AllOf(const Results&... results) : good((... && static_cast<bool>(results))) {}
  operator bool() const { return good; }
  bool good;
};

// Gives everything back that callbacks keep for the module. A fault hits once.
bool CloseCallbacks(const qvjvm::jvm& java) {
  for (int attempt = 0; attempt < 2; ++attempt) {
    const auto closed = qvjvm::try_close_callbacks(java, std::chrono::seconds(60));
    if (closed && closed.value()) return true;
  }
  return false;
}

double Half(double value) { return value / 2; }

const Use kUses[] = {
    {"by name",
     [](const qvjvm::jvm& java) -> bool {
       const auto cls = java.try_find_class("java/util/ArrayList");
       if (!cls) return false;
       const auto list = cls.value().try_create();
       if (!list) return false;
       return AllOf{list.value().try_call_as<bool>("add", "(Ljava/lang/Object;)Z", L"x"),
                    list.value().try_call<int32_t>("size"), list.value().try_copy(),
                    java.try_object_of(list.value().get()),
                    list.value().try_call_as<std::string>("get", "(I)Ljava/lang/Object;", 0)};
     }},
    {"typed",
     [](const qvjvm::jvm& java) -> bool {
       const auto sample = Sample::try_create(java, 7);
       if (!sample) return false;
       return AllOf{sample.value().try_field<"ofInt", int32_t>(),
                    sample.value().try_set_field<"ofText">("x"),
                    sample.value().try_field<"ofText", std::wstring>(),
                    sample.value().try_call<"same", qvjvm::object(qvjvm::object)>("x"),
                    Sample::try_set_static_field<"staticInt">(java, 5),
                    Sample::try_static_field<"staticInt", int32_t>(java)};
     }},
    {"handles",
     [](const qvjvm::jvm& java) -> bool {
       const auto cls = java.try_find_class("client/Sample");
       if (!cls) return false;
       const auto make = cls.value().try_find_constructor<Sample(int32_t)>();
       const auto same = cls.value().try_find_method<qvjvm::object(qvjvm::object)>("same");
       const auto name = cls.value().try_find_static_method<std::wstring(qvjvm::class_ref)>("nameOf");
       const auto field = cls.value().try_find_field<int32_t>("ofInt");
       if (!AllOf{make, same, name, field}) return false;
       const auto sample = make.value().try_call(3);
       if (!sample) return false;
       return AllOf{same.value().try_call(sample.value(), L"x"), name.value().try_call(cls.value()),
                    field.value().try_set(sample.value(), 4), qvjvm::global::try_make(sample.value())};
     }},
    {"arrays",
     [](const qvjvm::jvm& java) -> bool {
       const auto numbers = qvjvm::array<int32_t>::try_make(java, std::vector<int32_t>{1, 2});
       const auto texts = qvjvm::array<std::string>::try_make(java, std::vector<std::string>{"a", "b"});
       if (!AllOf{numbers, texts}) return false;
       std::vector<int32_t> into(2);
       return AllOf{numbers.value().try_get_region(0, into),
                    numbers.value().try_set(1, 9),
                    numbers.value().try_critical(),
                    texts.value().try_at(1),
                    texts.value().try_as<std::vector<std::string>>(),
                    Sample::try_call_static<"triangle", std::vector<std::vector<int32_t>>>(java, 3),
                    Sample::try_call_static<"mixed", std::vector<qvjvm::object>>(java),
                    Sample::try_call_static<"bytes", std::vector<uint8_t>>(java, std::vector<uint8_t>{1})};
     }},
    {"collections",
     [](const qvjvm::jvm& java) -> bool {
       const auto list = qvjvm::try_new_list(java, std::vector<int32_t>{1, 2});
       const auto map = qvjvm::try_new_map(java, std::map<std::string, int32_t>{{"a", 1}});
       if (!AllOf{list, map}) return false;
       return AllOf{qvjvm::try_to_vector<int32_t>(list.value()), qvjvm::try_entries<std::string, int32_t>(map.value())};
     }},
    {"exceptions",
     [](const qvjvm::jvm& java) -> bool {
       const auto failed = qvjvm::instance<"client/Faults">::try_call_static<"chain">(java);
       if (failed) return false;
       const auto why = failed.reason().exception();
       return !failed.reason().message().empty() && !why.class_name().empty() && !why.stack_text().empty() &&
              !why.stack_trace().empty() && why.cause().message() == L"inner" && why.suppressed().size() == 1;
     }},
    {"buffers and boxes",
     [](const qvjvm::jvm& java) -> bool {
       std::vector<std::byte> memory(8);
       const auto buffer = qvjvm::direct_buffer::try_over(java, memory);
       if (!buffer || buffer.value().memory().size() != 8) return false;
       return AllOf{Sample::try_call_static<"plusOne", std::optional<int32_t>>(java, qvjvm::boxed{1}),
                    Sample::try_call_static<"first", int32_t>(java, buffer.value())};
     }},
    {"another loader",
     [](const qvjvm::jvm& java) -> bool {
       const auto loader =
           qvjvm::instance<"java/lang/ClassLoader">::try_call_static<"getSystemClassLoader",
                                                                     qvjvm::instance<"java/lang/ClassLoader">>(java);
       if (!loader) return false;
       const auto other = java.try_with_loader(loader.value());
       if (!other) return false;
       return AllOf{other.value().try_find_class("client/Sample"), Sample::try_create(other.value())};
     }},
    {"callbacks",
     [](const qvjvm::jvm& java) -> bool {
       // So that no class is looked up inside a call of Java's, where nothing is counted.
       if (!qvjvm::try_new_list(java, std::vector<int32_t>{1})) return false;
       const auto object = qvjvm::try_implement<"client/Callbacks$Defaults">(java, [](int32_t value) { return value; });
       const bool good = object && AllOf{object.value().try_call<"twice", int32_t>(21), object.value().try_handle(),
                                         object.value().try_revoke()};
       return CloseCallbacks(java) && good;
     }},
    {"callbacks in C",
     [](const qvjvm::jvm& java) -> bool {
       IQV_JavaVM* const vm = java.get();
       static std::atomic<int> ends;
       const char* const name = "client/Callbacks$Defaults";
       const qv_function function = {"once", "(I)I", SameInC};
       const qv_implementation what = {&name, 1, &function, 1, [](void*) { ++ends; }, nullptr};
       const int before = ends;
       qv_jobject object = nullptr;
       qv_jobject handle = nullptr;
       IQvString* why = nullptr;
       bool good = qv_implement(vm, &what, nullptr, &object, &why) == QV_S_OK;
       if (good) {
         const auto made = java.try_object_of(object);
         good = AllOf{made && made.value().try_call_as<int32_t>("twice", "(I)I", 21),
                      qv_get_handle(vm, object, &handle) == QV_S_OK && qv_wait(vm, handle, 0) == QV_E_TIMEOUT,
                      qv_revoke(vm, object) == QV_S_OK};
       }
       if (why != nullptr) why->Release();
       vm->DeleteLocalRef(object);
       vm->DeleteGlobalRef(handle);
       bool closed = false;
       for (int attempt = 0; attempt < 2 && !closed; ++attempt) closed = qv_close_callbacks(vm, 60000) == QV_S_OK;
       EXPECT_EQ(ends, before + 1);
       return closed && good;
     }},
    {"natives in C",
     [](const qvjvm::jvm& java) -> bool {
       const auto cls = java.try_find_class("client/Natives");
       if (!cls) return false;
       const auto* const natives = kNativesInC;
       return qv_register_natives(java.get(), cls.value().get(), natives, 1, nullptr) == QV_S_OK &&
              qv_unregister_natives(java.get(), cls.value().get()) == QV_S_OK;
     }},
    {"streams",
     [](const qvjvm::jvm& java) -> bool {
       const std::string text = "text";
       std::vector<std::byte> memory;
       bool good = false;
       {
         const auto in = qvjvm::try_new_input_stream(java, text);
         const auto out = qvjvm::try_new_output_stream(java, memory);
         if (in && out) {
           const auto from = qvjvm::input_streambuf::try_make(in.value());
           const auto to = qvjvm::output_streambuf::try_make(out.value());
           if (from && to) {
             std::array<char, 4> read{};
             const bool whole = std::istream(from.value().get()).read(read.data(), 4).gcount() == 4;
             std::ostream(to.value().get()) << "text";
             good = to.value()->try_close() && whole && memory.size() == 4;
           }
         }
       }
       return CloseCallbacks(java) && good;
     }},
    {"natives",
     [](const qvjvm::jvm& java) -> bool {
       const auto half = qvjvm::static_native<"half", &Half>;
       // The function's objects belong to the jvm of its first registration, which stays.
       static const auto first = qvjvm::try_register_natives<"client/Natives">(Java(), half);
       using Natives = qvjvm::instance<"client/Natives">;
       return first && AllOf{qvjvm::try_register_natives<"client/Natives">(java, half),
                             Natives::try_call_static<"half", double>(java, 3.0),
                             qvjvm::try_unregister_natives<"client/Natives">(java)};
     }},
};

TEST(ClientFaults, EveryJniFunctionFailsAtEveryCall) {
  const qvjvm::jvm& java = Java();
  auto* const env = static_cast<JNIEnv*>(java.env());
  int failures = 0;
  std::map<std::string, int> seen;
  for (const Use& use : kUses) {
    ASSERT_TRUE(use.run(java)) << use.name;
    for (const Function& function : kFunctions) {
      for (int nth = 1;; ++nth) {
        SCOPED_TRACE(std::string(use.name) + ": call " + std::to_string(nth) + " of " + function.name);
        bool well = false;
        bool failed = false;
        {
          FailingJni jni(env);
          jni.Begin(static_cast<size_t>(function.family) + function.step, function.way, nth);
          const auto fresh = qvjvm::jvm::try_share(java.get());
          well = fresh && use.run(fresh.value());
          failed = jni.Failed();
        }
        ASSERT_FALSE(env->ExceptionCheck());
        if (!failed) {
          EXPECT_TRUE(well);
          break;
        }
        ++failures;
        ++seen[function.name];
        ASSERT_LT(nth, 500);
      }
    }
  }
  EXPECT_GT(failures, 300);
  for (const Function& function : kFunctions) {
    EXPECT_TRUE(seen[function.name] > 0 || function.family == place::push_local_frame) << function.name;
  }
}

TEST(ClientFaults, NoFailureKeepsAReference) {
  const qvjvm::jvm& java = Java();
  auto* const env = static_cast<JNIEnv*>(java.env());
  for (const Use& use : kUses) {
    for (const Function& function : kFunctions) {
      bool failed = true;
      for (int nth = 1; failed; ++nth) {
        SCOPED_TRACE(std::string(use.name) + ": call " + std::to_string(nth) + " of " + function.name);
        FailingJni jni(env);
        jni.Begin(static_cast<size_t>(function.family) + function.step, function.way, nth);
        {
          const auto fresh = qvjvm::jvm::try_share(java.get());
          if (fresh) (void)use.run(fresh.value());
        }
        failed = jni.Failed();
        ASSERT_EQ(jni.Locals(), 0);
        ASSERT_EQ(jni.Globals(), 0);
      }
    }
  }
}

// What a function of the host does last, in Java's hands already.
TEST(ClientFaults, FailuresOfTheHostsFunctionsFailInTurn) {
  const qvjvm::jvm& java = Java();
  auto* const env = static_cast<JNIEnv*>(java.env());
  using enter = FailingJni;
  const auto text = qvjvm::implement<"java/util/concurrent/Callable">(java, [] {
    enter::EnterHostFunction();
    return L"text";
  });
  const auto thrown = qvjvm::implement<"java/util/concurrent/Callable">(java, []() -> int32_t {
    enter::EnterHostFunction();
    throw std::out_of_range("thrown");
  });
  const auto failed = qvjvm::implement<"java/util/concurrent/Callable">(java, []() -> qvjvm::result<int32_t> {
    enter::EnterHostFunction();
    return qvjvm::failure(QV_E_FAIL, L"failed");
  });
  const char* const name = "java/util/concurrent/Callable";
  const qv_function raise = {nullptr, "()Ljava/lang/Object;", [](qv_call* call) -> int32_t {
                               enter::EnterHostFunction();
                               return qv_raise(call->vm, QV_E_FAIL, L"raised");
                             }};
  const qv_implementation what = {&name, 1, &raise, 1, nullptr, nullptr};
  qv_jobject made = nullptr;
  ASSERT_EQ(qv_implement(java.get(), &what, nullptr, &made, nullptr), QV_S_OK);
  const qvjvm::object raised = java.object_of(made);
  java.get()->DeleteLocalRef(made);
  const qvjvm::object* const objects[] = {&text, &thrown, &failed, &raised};
  int failures = 0;
  for (const qvjvm::object* object : objects) {
    for (const Function& function : kFunctions) {
      bool hit = true;
      for (int nth = 1; hit; ++nth) {
        SCOPED_TRACE(std::string(function.name) + " " + std::to_string(nth));
        FailingJni jni(env);
        jni.Begin(static_cast<size_t>(function.family) + function.step, function.way, nth);
        const auto called = object->try_call<qvjvm::object>("call");
        hit = jni.Failed();
        if (hit) {
          ++failures;
          ASSERT_FALSE(called);
        }
        ASSERT_FALSE(env->ExceptionCheck());
        ASSERT_LT(nth, 50);
      }
    }
  }
  EXPECT_GT(failures, 10);
}

}  // namespace
}  // namespace qvtest
