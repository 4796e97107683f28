// Mistakes of the host: each is told before anything happens, and nothing crashes. The program of these tests is built
// twice; the checked one (QVJVM_CHECKED) also finds what costs calls of its own.
#include <jni.h>

#include <functional>
#include <memory>
#include <thread>

#include "tests/client/client_fixture.h"

namespace qvtest {
namespace {

using testing::HasSubstr;
using Sample = qvjvm::instance<"client/Sample">;
using list = qvjvm::instance<"java/util/List">;

using ClientMistakes = ClientTest;

struct SignatureRow {
  const char* signature;
  const char* told;  // null where the call is right
};

TEST_F(ClientMistakes, ASignatureThatDoesNotFitTheArgumentsIsRefused) {
  const auto sample = Sample::create(java);
  const SignatureRow for_int[] = {
      {"(I)V", "fly"},  // it fits, but there is no such method
      {"(J)V", "the signature (J)V has J for argument 1, the call gives I"},
      {"(D)V", "the signature (D)V has D for argument 1, the call gives I"},
      {"(Z)V", "the signature (Z)V has Z for argument 1, the call gives I"},
      {"(Ljava/lang/Object;)V", "has Ljava/lang/Object; for argument 1, the call gives I"},
      {"([I)V", "has [I for argument 1, the call gives I"},
      {"()V", "has no argument 1, which the call gives"},
      {"(II)V", "has an argument 2, I, that the call does not give"},
      {"(ILjava/lang/String;)V", "has an argument 2, Ljava/lang/String;, that the call does not give"},
      {"", "is malformed"},
      {"I", "is malformed"},
      {"(I", "is malformed"},
      {"(I)", "is malformed"},
      {"(I)X", "is malformed"},
      {"(I)VV", "is malformed"},
      {"(V)V", "is malformed"},
      {"(Ljava/lang/String)V", "is malformed"},
      {"(L;)V", "is malformed"},
      {"([)V", "is malformed"},
      {"(I)[", "is malformed"},
      {nullptr, "is malformed"},
  };
  for (const SignatureRow& row : for_int) {
    SCOPED_TRACE(row.signature == nullptr ? "null" : row.signature);
    const auto called = sample.try_call_as("fly", qvjvm::signature(row.signature), 7);
    ASSERT_FALSE(called);
    EXPECT_THAT(called.reason().what(), HasSubstr(row.told));
  }
  const SignatureRow for_text[] = {
      {"(Ljava/lang/String;)V", "fly"},
      {"(Ljava/lang/Object;)V", "fly"},
      {"(Ljava/lang/CharSequence;)V", "fly"},
      {"(Ljava/lang/Comparable;)V", "fly"},
      {"(Ljava/lang/Integer;)V", "has Ljava/lang/Integer; for argument 1, the call gives Ljava/lang/String;"},
      {"([Ljava/lang/String;)V", "has [Ljava/lang/String; for argument 1"},
      {"(C)V", "has C for argument 1, the call gives Ljava/lang/String;"},
  };
  for (const SignatureRow& row : for_text) {
    SCOPED_TRACE(row.signature);
    const auto called = sample.try_call_as("fly", qvjvm::signature(row.signature), L"text");
    EXPECT_THAT(called.reason().what(), HasSubstr(row.told));
  }
}

TEST_F(ClientMistakes, ASignatureThatDoesNotFitTheResultIsRefused) {
  const auto sample = Sample::create(java);
  const auto told = [&]<class Result>(std::type_identity<Result>, const char* signature) {
    return std::string(sample.try_call_as<Result>("fly", qvjvm::signature(signature)).reason().what());
  };
  EXPECT_THAT(told(std::type_identity<int32_t>(), "()J"), HasSubstr("has the result J, the call wants I"));
  EXPECT_THAT(told(std::type_identity<int32_t>(), "()V"), HasSubstr("has the result V, the call wants I"));
  EXPECT_THAT(told(std::type_identity<qvjvm::object>(), "()I"),
              HasSubstr("has the result I, the call wants Ljava/lang/Object;"));
  EXPECT_THAT(told(std::type_identity<std::wstring>(), "()Ljava/lang/Integer;"), HasSubstr("has the result"));
  EXPECT_THAT(told(std::type_identity<std::wstring>(), "()[C"), HasSubstr("has the result"));
  EXPECT_THAT(told(std::type_identity<std::wstring>(), "()Ljava/lang/Object;"), HasSubstr("fly"));
  EXPECT_THAT(told(std::type_identity<void>(), "()D"), HasSubstr("fly"));
}

TEST_F(ClientMistakes, ALiteralSignatureThatFitsIsCalled) {
  const auto words = java.create<"java/util/ArrayList">();
  EXPECT_TRUE(words.call_as<bool>("add", "(Ljava/lang/Object;)Z", L"x"));
  words.call_as("add", "(Ljava/lang/Object;)Z", L"y");  // what it gives is dropped
  EXPECT_EQ(words.call_as<std::wstring>("get", "(I)Ljava/lang/Object;", 1), L"y");
  words.call_as("get", "(I)Ljava/lang/Object;", 1);
  EXPECT_EQ(java.find_class("java/lang/Math").call_static_as<double>("max", "(DD)D", 1.0, 2.0), 2.0);
}

TEST_F(ClientMistakes, AResultOfAnotherClassIsAFailure) {
  const auto words = java.create<"java/util/ArrayList">();
  words.call<"add", bool(qvjvm::object)>(qvjvm::boxed{7});
  const auto text = words.try_call_as<std::wstring>("get", "(I)Ljava/lang/Object;", 0);
  ASSERT_FALSE(text);
  EXPECT_EQ(text.reason().message(), L"a java.lang.Integer was taken for a java/lang/String");
  const auto special =
      Sample::create(java).try_call_as<Sample>("same", "(Ljava/lang/Object;)Ljava/lang/Object;", words);
  EXPECT_EQ(special.reason().message(), L"a java.util.ArrayList was taken for a client/Sample");
  EXPECT_EQ(words.try_as<qvjvm::instance<"java/lang/String">>().reason().message(),
            L"a java.util.ArrayList was taken for a java/lang/String");
  EXPECT_FALSE(words.try_as<std::wstring>());
  EXPECT_FALSE(words.try_as<int32_t>());
  EXPECT_FALSE(words.try_as<std::vector<int32_t>>());
  EXPECT_FALSE(words.try_as<qvjvm::class_ref>());
  EXPECT_TRUE(words.try_as<list>());
  const qvjvm::global kept(words);
  EXPECT_FALSE(kept.try_on_this_thread<Sample>());
  EXPECT_TRUE(kept.try_on_this_thread<list>());
  EXPECT_TRUE(std::move(java.create<"java/util/ArrayList">()).unchecked_as<list>());
}

TEST_F(ClientMistakes, AnArgumentOfAnotherClassIsRefused) {
  const auto words = java.create<"java/util/ArrayList">();
  const qvjvm::object text = java.new_string("x");
  const auto added = words.try_call_as<bool>("addAll", "(Ljava/util/Collection;)Z", text);
  EXPECT_EQ(added.reason().status(), QV_E_INVALIDARG);
  EXPECT_THAT(added.reason().message(), HasSubstr(L"argument 1 is no Ljava/util/Collection;"));
  const auto made = java.find_class("java/util/ArrayList").try_create_as("(Ljava/util/Collection;)V", text);
  EXPECT_THAT(made.reason().message(), HasSubstr(L"argument 1 is no Ljava/util/Collection;"));
  EXPECT_TRUE(words.try_call_as<bool>("addAll", "(Ljava/util/Collection;)Z", java.create<"java/util/ArrayList">()));
}

TEST_F(ClientMistakes, EmptyHandlesAreErrors) {
  const qvjvm::object null;
  const qvjvm::class_ref no_class;
  const qvjvm::jvm none;
  const qvjvm::thread_jvm no_thread;
  const qvjvm::method<int32_t()> no_method;
  const qvjvm::static_method<int32_t()> no_static;
  const qvjvm::constructor<qvjvm::object()> no_constructor;
  const qvjvm::field_handle<int32_t> no_field;
  const qvjvm::static_field_handle<int32_t> no_static_field;
  const qvjvm::throwable no_throwable;
  const struct {
    const char* name;
    std::function<void()> use;
  } rows[] = {
      {"call", [&] { null.call("toString"); }},
      {"call_as", [&] { null.call_as("toString", "()Ljava/lang/String;"); }},
      {"field", [&] { (void)null.field<int32_t>("x"); }},
      {"set_field", [&] { null.set_field("x", 1); }},
      {"get_class", [&] { (void)null.get_class(); }},
      {"as", [&] { (void)null.as<list>(); }},
      {"typed call", [&] { list().call<"size", int32_t>(); }},
      {"typed field", [&] { (void)list().field<"x", int32_t>(); }},
      {"class create", [&] { (void)no_class.create(); }},
      {"class call_static", [&] { no_class.call_static("x"); }},
      {"class static_field", [&] { (void)no_class.static_field<int32_t>("x"); }},
      {"class find_method", [&] { (void)no_class.find_method<void()>("x"); }},
      {"jvm find_class", [&] { (void)none.find_class("x"); }},
      {"jvm create", [&] { (void)none.create<"java/util/ArrayList">(); }},
      {"jvm env", [&] { (void)none.env(); }},
      {"jvm created", [&] { (void)none.created(); }},
      {"jvm java_version", [&] { (void)none.java_version(); }},
      {"jvm on_this_thread", [&] { (void)none.on_this_thread(); }},
      {"jvm with_loader", [&] { (void)java.with_loader(null); }},
      {"jvm share", [&] { (void)qvjvm::jvm::share(nullptr); }},
      {"jvm find_class of no name", [&] { (void)java.find_class(nullptr); }},
      {"thread_jvm", [&] { (void)no_thread.find_class("x"); }},
      {"frame", [&] { const qvjvm::frame frame(none); }},
      {"method", [&] { (void)no_method(java.new_string("x")); }},
      {"static_method", [&] { (void)no_static(); }},
      {"constructor", [&] { (void)no_constructor(); }},
      {"field_handle", [&] { (void)no_field.get(java.new_string("x")); }},
      {"static_field_handle", [&] { (void)no_static_field.get(); }},
      {"elements", [&] { (void)qvjvm::elements<qvjvm::object>(null); }},
      {"entries", [&] { (void)qvjvm::entries<qvjvm::object, qvjvm::object>(null); }},
      {"array", [&] { (void)qvjvm::array<int32_t>().critical(); }},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(FailureOf(row.use).status(), QV_E_INVALIDARG);
  }
  EXPECT_FALSE(null.copy());
  EXPECT_FALSE(null.is<"java/util/List">());
  EXPECT_FALSE(null.is_instance_of(java.find_class("java/util/List")));
  EXPECT_FALSE(qvjvm::global(null));
  EXPECT_FALSE(qvjvm::global().on_this_thread());
  EXPECT_EQ(no_throwable.text(), L"");
  EXPECT_TRUE(no_throwable.stack_trace().empty());
  EXPECT_EQ(none.get(), nullptr);
}

TEST_F(ClientMistakes, MovedFromHandlesAreEmpty) {
  qvjvm::jvm first = java;
  const qvjvm::jvm second = std::move(first);
  EXPECT_EQ(FailureOf([&] { (void)first.find_class("x"); }).status(),
            QV_E_INVALIDARG);  // NOLINT(bugprone-use-after-move)
  EXPECT_TRUE(second.find_class("java/lang/String"));
  auto size = java.find_class("java/util/ArrayList").find_method<int32_t()>("size");
  const auto moved = std::move(size);
  const auto words = java.create<"java/util/ArrayList">();
  EXPECT_EQ(FailureOf([&] { (void)size(words); }).status(), QV_E_INVALIDARG);  // NOLINT(bugprone-use-after-move)
  EXPECT_EQ(moved(words), 0);
}

#if QVJVM_CHECKED

TEST_F(ClientMistakes, CheckedBuildsFindForeignThreads) {
  const auto words = java.create<"java/util/ArrayList">();
  const qvjvm::thread_jvm here = java.on_this_thread();
  std::thread([&] {
    EXPECT_THAT(words.try_call<int32_t>("size").reason().message(), HasSubstr(L"another thread"));
    EXPECT_THAT((words.try_call<"size", int32_t>().reason().message()), HasSubstr(L"another thread"));
    EXPECT_THAT(here.try_find_class("java/util/List").reason().message(), HasSubstr(L"another thread"));
    const auto passed = java.create<"java/util/ArrayList">().try_call<"add", bool(qvjvm::object)>(words);
    EXPECT_THAT(passed.reason().message(), HasSubstr(L"another thread"));
  }).join();
  EXPECT_EQ((words.call<"size", int32_t>()), 0);
}

TEST_F(ClientMistakes, CheckedBuildsLeaveTheReferencesOfAForeignThreadAlone) {
  auto words = std::make_unique<qvjvm::object>(java.create<"java/util/ArrayList">());
  std::thread([&] { words.reset(); }).join();
}

TEST_F(ClientMistakes, CheckedBuildsAskResolvedMembersForTheirClass) {
  const auto size = java.find_class("java/util/ArrayList").find_method<int32_t()>("size");
  EXPECT_THAT(size.try_call(java.new_string("x")).reason().message(), HasSubstr(L"another class"));
  const auto field = java.find_class("client/Sample").find_field<int32_t>("ofInt");
  EXPECT_THAT(field.try_get(java.new_string("x")).reason().message(), HasSubstr(L"another class"));
}

TEST_F(ClientMistakes, CheckedBuildsAskResultsThatTheMethodPromises) {
  // Java's generics promise what its code does not hold.
  const auto untrue = Sample::try_call_static<"untrue", qvjvm::object>(java);
  ASSERT_TRUE(untrue);
  EXPECT_FALSE(untrue.value().try_as<list>());
}

TEST_F(ClientMistakes, CheckedBuildsFindWhatTheHostsOwnJniLeftPending) {
  const auto words = java.create<"java/util/ArrayList">();
  const qvjvm::thread_jvm here = java.on_this_thread();
  auto* const env = static_cast<JNIEnv*>(java.env());
  env->ThrowNew(env->FindClass("java/io/IOException"), "left behind");
  const auto left = HasSubstr(L"left an exception pending");
  EXPECT_THAT(words.try_call<int32_t>("size").reason().message(), left);
  EXPECT_THAT((words.try_call<"size", int32_t>().reason().message()), left);
  EXPECT_THAT(java.try_find_class("java/util/List").reason().message(), left);
  EXPECT_THAT(here.try_find_class("java/util/List").reason().message(), left);
  EXPECT_TRUE(env->ExceptionCheck());
  env->ExceptionClear();
  EXPECT_EQ((words.call<"size", int32_t>()), 0);
}

TEST_F(ClientMistakes, CheckedBuildsKeepTheServiceForAForgottenObject) {
  qvjvm::object forgotten;
  {
    const qvjvm::jvm other = qvjvm::jvm::share(java.get());
    forgotten = other.create<"java/util/ArrayList">();
  }
  EXPECT_EQ(forgotten.call<int32_t>("size"), 0);
}

#endif

}  // namespace
}  // namespace qvtest
