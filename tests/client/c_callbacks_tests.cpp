// Java that calls the host through callbacks.h: which functions answer what, failures, mistakes, ends. c_host.c has the
// functions of the header, compiled as C.
#include <jni.h>

#include <thread>

#include "tests/client/c_host.h"
#include "tests/client/client_fixture.h"
#include "tests/support/threads.h"

namespace qvtest {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

using Callbacks = qvjvm::instance<"client/Callbacks">;
using Runnable = qvjvm::instance<"java/lang/Runnable">;
using Function = qvjvm::instance<"java/util/function/Function">;
using IntOperator = qvjvm::instance<"java/util/function/IntUnaryOperator">;

constexpr uint32_t kLimitMs = 60000;

std::wstring Take(IQvString* text) {
  if (text == nullptr) return {};
  std::wstring taken = text->GetText();
  text->Release();
  return taken;
}

// What the functions of one object count, and what they need.
struct Context {
  std::atomic<int> calls = 0;
  std::atomic<int> ends = 0;
  IQV_JavaVM* vm = nullptr;
  qv_jobject object = nullptr;  // a global reference or a handle
  int32_t status = 0;
  std::function<int32_t(qv_call*)> work;
};

Context& ContextOf(qv_call* call) { return *static_cast<Context*>(call->context); }
void CountEnd(void* context) { ++static_cast<Context*>(context)->ends; }
int32_t CountCall(qv_call* call) {
  ++ContextOf(call).calls;
  return QV_S_OK;
}
int32_t RunWork(qv_call* call) {
  ++ContextOf(call).calls;
  return ContextOf(call).work(call);
}

class ClientC : public ClientTest {
 protected:
  struct Made {
    int32_t status;
    std::wstring why;
    qvjvm::object object;
  };

  // Every context ends once, whatever became of its object.
  ~ClientC() override {
    EXPECT_EQ(qv_close_callbacks(vm, kLimitMs), QV_S_OK);
    for (const auto& each : m_contexts) EXPECT_EQ(each->ends, each->vm == nullptr ? 0 : 1);
  }

  Context& NewContext(std::function<int32_t(qv_call*)> work = nullptr) {
    m_contexts.push_back(std::make_unique<Context>());
    m_contexts.back()->work = std::move(work);
    return *m_contexts.back();
  }

  Made Implement(const std::vector<const char*>& interfaces, const std::vector<qv_function>& functions,
                 Context& context, qv_jobject loader = nullptr) {
    const qv_implementation what = {interfaces.data(), static_cast<int32_t>(interfaces.size()),
                                    functions.data(),  static_cast<int32_t>(functions.size()),
                                    CountEnd,          loader};
    context.vm = vm;
    qv_jobject object = nullptr;
    IQvString* why = nullptr;
    const int32_t status = qv_implement(vm, &what, &context, &object, &why);
    EXPECT_EQ(status == QV_S_OK, object != nullptr);
    EXPECT_EQ(status == QV_S_OK, why == nullptr);
    if (object == nullptr) return {status, Take(why), {}};
    Made made{status, Take(why), java.object_of(object)};
    vm->DeleteLocalRef(object);
    return made;
  }
  qvjvm::object MakeRunnable(Context& context) {
    Made made = Implement({"java/lang/Runnable"}, {{nullptr, "()V", RunWork}}, context);
    EXPECT_EQ(made.why, L"");
    return std::move(made.object);
  }
  qvjvm::object MakeRunnable(std::function<int32_t(qv_call*)> work) {
    return MakeRunnable(NewContext(std::move(work)));
  }

  IQV_JavaVM* const vm = java.get();

 private:
  std::vector<std::unique_ptr<Context>> m_contexts;
};

TEST_F(ClientC, EveryTypeCrosses) {
  int seven = 7;
  const int ends = EndsInC();
  qv_jobject object = nullptr;
  ASSERT_EQ(qv_implement(vm, &kEveryInC, &seven, &object, nullptr), QV_S_OK);
  using Every = qvjvm::instance<"client/Callbacks$Every">;
  EXPECT_EQ((Callbacks::call_static<"callEvery", std::string(Every)>(java, java.object_of(object).as<Every>())),
            "whole true-128\xEF\xBF\xBF-32768-9223372036854775808-1.54.9E-3242");
  EXPECT_EQ(qv_revoke(vm, object), QV_S_OK);
  EXPECT_EQ(EndsInC(), ends + 1);
  vm->DeleteLocalRef(object);
}

TEST_F(ClientC, PrimitiveTypesComeAndGoInTheirBoxes) {
  const auto check = [&]<class T>(const char* signature, T value) {
    const Made same = Implement({"java/util/function/Function"}, {{nullptr, signature, SameInC}}, NewContext());
    ASSERT_EQ(same.why, L"");
    const auto function = same.object.as<Function>();
    EXPECT_EQ((function.call<"apply", qvjvm::object(qvjvm::object)>(qvjvm::boxed{value}).template as<T>()), value);
    EXPECT_EQ((function.try_call<"apply", qvjvm::object(qvjvm::object)>("text").reason().exception().class_name()),
              L"java.lang.ClassCastException");
    EXPECT_EQ((function.try_call<"apply", qvjvm::object(qvjvm::object)>(nullptr).reason().exception().class_name()),
              L"java.lang.NullPointerException");
  };
  check("(Z)Z", true);
  check("(B)B", int8_t{-128});
  check("(C)C", u'\uffff');
  check("(S)S", int16_t{-32768});
  check("(I)I", std::numeric_limits<int32_t>::min());
  check("(J)J", std::numeric_limits<int64_t>::min());
  check("(F)F", -1.5F);
  check("(D)D", 5e-324);
}

TEST_F(ClientC, ArgumentsBehindTheThirdComeOutOfTheirBoxesToo) {
  Context& context = NewContext([](qv_call* call) {
    call->result.j = call->arguments[0].i + call->arguments[2].s + call->arguments[3].j;
    return QV_S_OK;
  });
  const auto many =
      Implement({"client/Callbacks$Many"}, {{"take", "(ILjava/lang/Object;SJ)J", RunWork}}, context).object;
  const auto take = [&](const auto& last) {
    return many.try_call_as<qvjvm::object>(
        "take", "(Ljava/lang/Object;Ljava/lang/Object;Ljava/lang/Object;Ljava/lang/Object;)Ljava/lang/Object;",
        qvjvm::boxed{int32_t{1}}, nullptr, qvjvm::boxed{int16_t{2}}, last);
  };
  EXPECT_EQ(take(qvjvm::boxed{int64_t{39}}).value().as<int64_t>(), 42);
  EXPECT_EQ(take("text").reason().exception().class_name(), L"java.lang.ClassCastException");
  EXPECT_EQ(take(nullptr).reason().exception().class_name(), L"java.lang.NullPointerException");
  EXPECT_EQ(context.calls, 1);
}

TEST_F(ClientC, SeveralInterfacesAndNames) {
  Context& context = NewContext([](qv_call* call) {
    call->result.z = ContextOf(call).calls <= 3;
    return QV_S_OK;
  });
  const auto object =
      Implement({"java/util/Iterator", "java/lang/AutoCloseable"},
                {{"hasNext", "()Z", RunWork},
                 {"next", "()Ljava/lang/Object;", [](qv_call*) -> int32_t { return QV_S_OK; }},
                 {"close", "()V", CountCall},
                 {"toString", "()Ljava/lang/String;",
                  [](qv_call* call) -> int32_t { return call->vm->NewString(&call->result.l, L"named"); }}},
                context)
          .object;
  int elements = 0;
  for (const qvjvm::object& each : qvjvm::elements<qvjvm::object>(object)) {
    EXPECT_FALSE(each);
    ++elements;
  }
  EXPECT_EQ(elements, 3);
  object.as<qvjvm::instance<"java/lang/AutoCloseable">>().call<"close">();
  EXPECT_EQ(context.calls, 5);
  EXPECT_EQ(object.call<std::string>("toString"), "named");
  EXPECT_EQ(object.call_as<bool>("equals", "(Ljava/lang/Object;)Z", object), true);
}

TEST_F(ClientC, DefaultMethodsRunAsTheyAre) {
  ExpectDefaultMethods(Implement({"client/Callbacks$Defaults"}, {{nullptr, "(I)I", SameInC}}, NewContext()).object);
}

TEST_F(ClientC, WhatDoesNotFitIsToldWhenTheObjectIsMade) {
  const struct {
    const char* type;
    qv_function function;
    int32_t status;
    const wchar_t* text;
  } mistakes[] = {
      {"java/util/Comparator",
       {nullptr, "(J)I", CountCall},
       QV_E_INVALIDARG,
       L"the host's function (long) -> int does not fit [public abstract int "
       L"java.util.Comparator.compare(java.lang.Object,java.lang.Object)]"},
      {"java/lang/Runnable", {nullptr, "()[[I", CountCall}, QV_E_INVALIDARG, L"() -> int[][] does not fit"},
      {"java/util/Iterator",
       {"next", "()Ljava/lang/Object;", CountCall},
       QV_E_INVALIDARG,
       L"nothing implements public abstract boolean java.util.Iterator.hasNext()"},
      {"java/util/Iterator", {nullptr, "()Z", CountCall}, QV_E_INVALIDARG, L"one function is given for"},
      {"java/lang/Runnable", {"fly", "()V", CountCall}, QV_E_INVALIDARG, L"has no method fly"},
      {"client/Callbacks$NoInterface", {"hashCode", "()I", CountCall}, QV_E_INVALIDARG, L"is not an interface"},
      {"no/such/Interface", {nullptr, "()V", CountCall}, QV_E_FAIL, L"no/such/Interface"},
      {"java/lang/Runnable", {nullptr, "(Lno/such/Type;)V", CountCall}, QV_E_FAIL, L"no/such/Type"},
  };
  for (const auto& each : mistakes) {
    const Made made = Implement({each.type}, {each.function}, NewContext());
    EXPECT_EQ(made.status, each.status) << each.type;
    EXPECT_THAT(made.why, HasSubstr(each.text));
  }
}

TEST_F(ClientC, BadInputIsRefusedAndEndsTheContext) {
  const char* const name = "java/lang/Runnable";
  const char* const none = nullptr;
  const qv_function good = {nullptr, "()V", CountCall};
  const qv_function noCall = {nullptr, "()V", nullptr};
  std::vector<qv_implementation> wrong = {
      {nullptr, 1, &good, 1, CountEnd, nullptr}, {&name, 0, &good, 1, CountEnd, nullptr},
      {&name, -1, &good, 1, CountEnd, nullptr},  {&none, 1, &good, 1, CountEnd, nullptr},
      {&name, 1, nullptr, 1, CountEnd, nullptr}, {&name, 1, &good, 0, CountEnd, nullptr},
      {&name, 1, &noCall, 1, CountEnd, nullptr},
  };
  const char* const signatures[] = {
      nullptr, "",    "V", "(", "()", "()X", "()VV", "(V)V", "(L)V", "(L;)V", "([)V", "(I", "(Ljava/lang/Object)V",
      "()V ",  "()[V"};
  std::vector<qv_function> functions;
  for (const char* each : signatures) functions.push_back({nullptr, each, CountCall});
  for (const qv_function& each : functions) wrong.push_back({&name, 1, &each, 1, CountEnd, nullptr});
  int ends = 0;
  for (const qv_implementation& each : wrong) {
    Context context;
    qv_jobject object = &context;
    IQvString* why = nullptr;
    EXPECT_EQ(qv_implement(vm, &each, &context, &object, &why), QV_E_INVALIDARG);
    EXPECT_EQ(object, nullptr);
    EXPECT_NE(Take(why), L"");
    ends += context.ends;
  }
  EXPECT_EQ(ends, static_cast<int>(wrong.size()));

  const qv_implementation what = {&name, 1, &good, 1, CountEnd, nullptr};
  Context context;
  qv_jobject object = nullptr;
  EXPECT_EQ(qv_implement(nullptr, &what, &context, &object, nullptr), QV_E_INVALIDARG);
  EXPECT_EQ(qv_implement(vm, &what, &context, nullptr, nullptr), QV_E_INVALIDARG);
  EXPECT_EQ(context.ends, 2);
  EXPECT_EQ(qv_implement(vm, nullptr, &context, &object, nullptr), QV_E_INVALIDARG);
  EXPECT_EQ(context.ends, 2);
  const qvjvm::object text = java.new_string("no object of the host's");
  for (qv_jobject each : {qv_jobject{nullptr}, text.get()}) {
    EXPECT_EQ(qv_get_handle(vm, each, &object), QV_E_INVALIDARG);
    EXPECT_EQ(qv_revoke(vm, each), QV_E_INVALIDARG);
    EXPECT_EQ(qv_wait(vm, each, 0), QV_E_INVALIDARG);
  }
  const auto run = MakeRunnable(CountCall);
  EXPECT_EQ(qv_revoke(vm, text.get()), QV_E_INVALIDARG);
  EXPECT_EQ(qv_get_handle(vm, run.get(), nullptr), QV_E_INVALIDARG);
  EXPECT_EQ(qv_get_handle(nullptr, run.get(), &object), QV_E_INVALIDARG);
  EXPECT_EQ(qv_revoke(nullptr, run.get()), QV_E_INVALIDARG);
  EXPECT_EQ(qv_wait(nullptr, run.get(), 0), QV_E_INVALIDARG);
  EXPECT_EQ(qv_close_callbacks(nullptr, 0), QV_E_INVALIDARG);
  EXPECT_EQ(qv_raise(nullptr, QV_E_INVALIDARG, L"nowhere"), QV_E_INVALIDARG);
  run.call("run");
}

// ---- failures ----

int32_t LeavePending(qv_call* call) {
  const auto env = static_cast<JNIEnv*>(call->env);
  env->ThrowNew(env->FindClass("java/io/IOException"), "left pending");
  return ContextOf(call).status;
}

TEST_F(ClientC, JavaGetsWhatAFunctionFailsWith) {
  const struct {
    qv_callback call;
    int32_t status;
    const wchar_t* text;
  } ways[] = {
      {[](qv_call* call) { return qv_raise(call->vm, ContextOf(call).status, L"no d\u00efsk"); }, QV_E_FAIL,
       L"qvjvm.HostException: no d\u00efsk"},
      {[](qv_call* call) { return qv_raise(call->vm, ContextOf(call).status, L"positive"); }, 1,
       L"qvjvm.HostException: positive"},
      {[](qv_call* call) { return qv_raise(call->vm, ContextOf(call).status, nullptr); }, QV_E_OUTOFMEMORY,
       L"qvjvm.HostException: a function of the host failed with status 0x8007000E"},
      {[](qv_call* call) {
         call->result.l = call->env;  // is not looked at
         return ContextOf(call).status;
       },
       QV_E_FAIL, L"qvjvm.HostException: a function of the host failed with status 0x80004005"},
      {LeavePending, QV_E_FAIL, L"java.io.IOException: left pending"},
      {LeavePending, QV_S_OK, L"java.io.IOException: left pending"},
      {[](qv_call* call) {
         LeavePending(call);
         return qv_raise(call->vm, QV_E_FAIL, L"second");
       },
       0, L"java.io.IOException: left pending"},
  };
  for (const auto& each : ways) {
    Context& context = NewContext();
    context.status = each.status;
    const auto object =
        Implement({"java/util/concurrent/Callable"}, {{nullptr, "()Ljava/lang/Object;", each.call}}, context).object;
    EXPECT_EQ(object.try_call<qvjvm::object>("call").reason().message(), each.text);
  }
  const auto wrapped = Implement({"java/lang/Runnable"}, {{nullptr, "()V", LeavePending}}, NewContext()).object;
  EXPECT_EQ(wrapped.try_call("run").reason().exception().class_name(),
            L"java.lang.reflect.UndeclaredThrowableException");
}

TEST_F(ClientC, WhatIsPendingStaysPending) {
  const auto env = static_cast<JNIEnv*>(java.env());
  const auto object = MakeRunnable(CountCall);
  const char* const name = "java/lang/Runnable";
  const qv_function function = {nullptr, "()V", CountCall};
  const qv_implementation what = {&name, 1, &function, 1, CountEnd, nullptr};
  Context context;
  qv_jobject made = nullptr;
  qv_jobject handle = nullptr;
  env->ThrowNew(env->FindClass("java/lang/Error"), "of before");
  EXPECT_EQ(qv_implement(vm, &what, &context, &made, nullptr), QV_S_OK);
  EXPECT_EQ(qv_get_handle(vm, made, &handle), QV_S_OK);
  EXPECT_EQ(qv_revoke(vm, made), QV_S_OK);
  EXPECT_EQ(qv_wait(vm, handle, 0), QV_S_OK);
  EXPECT_EQ(qv_revoke(vm, handle), QV_S_OK);
  EXPECT_EQ(qv_close_callbacks(vm, kLimitMs), QV_S_OK);
  EXPECT_TRUE(env->ExceptionCheck());
  env->ExceptionClear();
  EXPECT_EQ(context.ends, 1);
  vm->DeleteLocalRef(made);
  vm->DeleteGlobalRef(handle);
}

// ---- taking back ----

TEST_F(ClientC, RevokeEndsTheContextAndLaterCallsAreRefused) {
  Context& context = NewContext(CountCall);
  const auto object = MakeRunnable(context);
  object.call("run");
  EXPECT_EQ(qv_wait(vm, object.get(), 5), QV_E_TIMEOUT);
  for (int i = 0; i < 2; ++i) EXPECT_EQ(qv_revoke(vm, object.get()), QV_S_OK);
  EXPECT_EQ(context.ends, 1);
  EXPECT_EQ(qv_wait(vm, object.get(), 0), QV_S_OK);
  EXPECT_EQ(object.try_call("run").reason().message(),
            L"java.lang.IllegalStateException: the host has taken this object back");
}

TEST_F(ClientC, AHandleKeepsNothingAliveAndServesAnyThread) {
  Context& forgotten = NewContext(CountCall);
  qv_jobject handle = nullptr;
  ASSERT_EQ(qv_get_handle(vm, MakeRunnable(forgotten).get(), &handle), QV_S_OK);
  const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(kLimitMs);
  while (forgotten.ends == 0 && std::chrono::steady_clock::now() < end) {
    java.call_static<"java/lang/System", "gc">();
    Sleep(10);
  }
  EXPECT_EQ(forgotten.ends, 1);
  EXPECT_EQ(qv_revoke(vm, handle), QV_S_OK);
  vm->DeleteGlobalRef(handle);

  Context& context = NewContext(CountCall);
  const auto object = MakeRunnable(context);
  ASSERT_EQ(qv_get_handle(vm, object.get(), &handle), QV_S_OK);
  std::thread([&] {
    EXPECT_EQ(qv_revoke(vm, handle), QV_S_OK);
    EXPECT_EQ(qv_wait(vm, handle, kLimitMs), QV_S_OK);
  }).join();
  EXPECT_EQ(context.ends, 1);
  EXPECT_FALSE(object.try_call("run"));
  vm->DeleteGlobalRef(handle);
}

TEST_F(ClientC, AFunctionMayRevokeItsOwnObject) {
  Context& context = NewContext([](qv_call* call) {
    Context& mine = ContextOf(call);
    EXPECT_EQ(qv_revoke(call->vm, mine.object), QV_S_OK);
    EXPECT_EQ(qv_wait(call->vm, mine.object, 5), QV_E_TIMEOUT);
    EXPECT_EQ(mine.ends, 0);
    return QV_S_OK;
  });
  const auto object = MakeRunnable(context);
  ASSERT_EQ(qv_get_handle(vm, object.get(), &context.object), QV_S_OK);
  object.call("run");
  EXPECT_EQ(context.ends, 1);
  vm->DeleteGlobalRef(context.object);
}

TEST_F(ClientC, ClosingWaitsForTheCallsInsideAndRefusesNewObjects) {
  const Event inside;
  const Event go;
  Context& idle = NewContext(CountCall);
  Context& busy = NewContext([&](qv_call* call) {
    inside.Set();
    go.Wait(kLimitMs);
    return qv_raise(call->vm, QV_E_FAIL, L"while closing");
  });
  const auto unused = MakeRunnable(idle);
  const qvjvm::global kept(MakeRunnable(busy));
  std::wstring failed;
  std::thread caller([&] { failed = kept.on_this_thread<Runnable>().try_call<"run">().reason().message(); });
  inside.Wait(kLimitMs);
  EXPECT_EQ(qv_close_callbacks(vm, 20), QV_E_TIMEOUT);
  EXPECT_EQ(idle.ends, 1);
  EXPECT_EQ(busy.ends, 0);
  EXPECT_THAT(Implement({"java/lang/Runnable"}, {{nullptr, "()V", CountCall}}, NewContext()).why, HasSubstr(L"closes"));
  go.Set();
  EXPECT_EQ(qv_close_callbacks(vm, kLimitMs), QV_S_OK);
  EXPECT_EQ(busy.ends, 1);
  caller.join();
  EXPECT_EQ(failed, L"qvjvm.HostException: while closing");
  EXPECT_FALSE(unused.try_call("run"));
  EXPECT_EQ(qv_revoke(vm, unused.get()), QV_E_INVALIDARG);
  EXPECT_EQ(qv_close_callbacks(vm, 0), QV_S_OK);
  MakeRunnable(CountCall).call("run");
}

// ---- threads and depth ----

TEST_F(ClientC, ManyThreadsMakeCallAndClose) {
  for (int round = 0; round < 5; ++round) {
    std::array<Context, 8> contexts;
    OnThreads(8, [&](int number) {
      const char* const name = "java/util/function/IntUnaryOperator";
      const qv_function function = {nullptr, "(I)I", SameInC};
      const qv_implementation what = {&name, 1, &function, 1, CountEnd, nullptr};
      qv_jobject object = nullptr;
      ASSERT_EQ(qv_implement(vm, &what, &contexts[static_cast<size_t>(number)], &object, nullptr), QV_S_OK);
      const auto mine = java.object_of(object).as<IntOperator>();
      vm->DeleteLocalRef(object);
      EXPECT_EQ((Callbacks::call_static<"sum", int64_t(IntOperator, int32_t)>(java, mine, 500)), 124750);
    });
    EXPECT_EQ(qv_close_callbacks(vm, kLimitMs), QV_S_OK);
    for (const Context& context : contexts) EXPECT_EQ(context.ends, 1);
  }
}

TEST_F(ClientC, JavasThreadsCallAtOnce) {
  Context& context = NewContext([](qv_call* call) {
    call->result.i = 2 * call->arguments[0].i;
    return QV_S_OK;
  });
  const auto twice = Implement({"java/util/function/IntUnaryOperator"}, {{nullptr, "(I)I", RunWork}}, context)
                         .object.as<IntOperator>();
  EXPECT_EQ((Callbacks::call_static<"sumOfThreads", int64_t(IntOperator, int32_t, int32_t)>(java, twice, 8, 1000)),
            8 * 999000);
  EXPECT_EQ(context.calls, 8000);
}

TEST_F(ClientC, CallsWithinCalls) {
  Context& context = NewContext([](qv_call* call) {
    const int32_t left = call->arguments[0].i;
    if (left == 0) return QV_S_OK;
    qv_jclass cls = nullptr;
    int32_t status = call->vm->FindClass(&cls, "java/util/function/IntUnaryOperator");
    if (status >= 0) {
      status = call->vm->CallIntMethod(&call->result.i, cls, ContextOf(call).object, "applyAsInt", "(I)I", left - 1);
    }
    ++call->result.i;
    return status;
  });
  const auto nested = Implement({"java/util/function/IntUnaryOperator"}, {{nullptr, "(I)I", RunWork}}, context)
                          .object.as<IntOperator>();
  ASSERT_EQ(vm->NewGlobalRef(&context.object, nested.get()), QV_S_OK);
  EXPECT_EQ((nested.call<"applyAsInt", int32_t>(200)), 200);
  EXPECT_EQ(context.calls, 201);
  vm->DeleteGlobalRef(context.object);
}

// ---- classes ----

TEST_F(ClientC, AFunctionFindsTheClassesOfTheClassPath) {
  const auto object = MakeRunnable([](qv_call* call) {
    qv_jclass cls = nullptr;
    EXPECT_EQ(call->vm->FindClass(&cls, "client/Sample"), QV_S_OK);
    EXPECT_NE(static_cast<JNIEnv*>(call->env)->FindClass("client/Faults"), nullptr);
    return QV_S_OK;
  });
  object.call("run");
}

TEST_F(ClientC, InterfacesComeThroughTheGivenLoader) {
  const auto file = java.create<"java/io/File">(ProgramFolder() + L"\\clienttests.jar");
  const auto url =
      file.call<"toURI", qvjvm::instance<"java/net/URI">>().call<"toURL", qvjvm::instance<"java/net/URL">>();
  const auto urls = qvjvm::array<qvjvm::instance<"java/net/URL">>::make(java, 1);
  urls.set(0, url);
  const auto loader = qvjvm::instance<"java/net/URLClassLoader">::create_as<void(
      qvjvm::array<qvjvm::instance<"java/net/URL">>, qvjvm::instance<"java/lang/ClassLoader">)>(java, urls, nullptr);
  const auto there = Implement({"client/Callbacks$Covariant"}, {{nullptr, "()Ljava/lang/String;", CountCall}},
                               NewContext(), loader.get())
                         .object;
  EXPECT_FALSE(there.call<qvjvm::object>("get"));
  EXPECT_FALSE(there.is_instance_of(java.find_class("client/Callbacks$Covariant")));
  EXPECT_THAT(Implement({"no/Such"}, {{nullptr, "()V", CountCall}}, NewContext(), loader.get()).why,
              StartsWith(L"java.lang.ClassNotFoundException"));
}

// ---- native methods ----

TEST_F(ClientC, NativeMethods) {
  using Natives = qvjvm::instance<"client/Natives">;
  const qvjvm::class_ref cls = java.find_class("client/Natives");
  IQvString* why = nullptr;
  ASSERT_EQ(qv_register_natives(vm, cls.get(), kNativesInC, kNativesInCCount, &why), QV_S_OK);
  EXPECT_EQ(why, nullptr);
  EXPECT_EQ((Natives::call_static<"half", double>(java, 3.0)), 1.5);
  EXPECT_FALSE((Natives::call_static<"not", bool>(java, true)));
  const auto one = Natives::create(java, 5);
  EXPECT_TRUE((one.call<"same", Natives>().same_as(one)));
  EXPECT_EQ(qv_unregister_natives(vm, cls.get()), QV_S_OK);
  EXPECT_EQ((Natives::try_call_static<"half", double>(java, 1.0).reason().exception().class_name()),
            L"java.lang.UnsatisfiedLinkError");

  const qv_native missing = {"noSuch", "()V", kNativesInC[0].function};
  EXPECT_EQ(qv_register_natives(vm, cls.get(), &missing, 1, &why), QV_E_FAIL);
  EXPECT_THAT(Take(why), HasSubstr(L"noSuch"));
  const qv_native wrong[] = {
      {nullptr, "()V", missing.function}, {"half", nullptr, missing.function}, {"half", "(D)D", nullptr}};
  for (const qv_native& each : wrong) {
    EXPECT_EQ(qv_register_natives(vm, cls.get(), &each, 1, &why), QV_E_INVALIDARG);
    EXPECT_NE(Take(why), L"");
  }
  EXPECT_EQ(qv_register_natives(vm, nullptr, kNativesInC, 1, nullptr), QV_E_INVALIDARG);
  EXPECT_EQ(qv_register_natives(vm, cls.get(), nullptr, 1, nullptr), QV_E_INVALIDARG);
  EXPECT_EQ(qv_register_natives(vm, cls.get(), kNativesInC, 0, nullptr), QV_E_INVALIDARG);
  EXPECT_EQ(qv_register_natives(nullptr, cls.get(), kNativesInC, 1, nullptr), QV_E_INVALIDARG);
  EXPECT_EQ(qv_unregister_natives(vm, nullptr), QV_E_INVALIDARG);
  EXPECT_EQ(qv_unregister_natives(nullptr, cls.get()), QV_E_INVALIDARG);
}

}  // namespace
}  // namespace qvtest
