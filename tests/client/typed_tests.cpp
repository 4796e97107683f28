// Classes whose names the compiler knows: what they name is looked up once for each class loader, and typed by the C++
// types.
#include <thread>

#include "tests/client/client_fixture.h"

namespace qvtest {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

struct collection : qvjvm::java_class<collection, "java/util/Collection"> {
  using java_class::java_class;
  [[nodiscard]] int32_t size() const { return call<"size", int32_t>(); }
};
struct list : qvjvm::java_class<list, "java/util/List", collection> {
  using java_class::java_class;
  template <class T>
  bool add(const T& element) const {
    return call<"add", bool(qvjvm::object)>(element);
  }
  [[nodiscard]] qvjvm::object get(int32_t index) const { return call<"get", qvjvm::object>(index); }
};
struct array_list : qvjvm::java_class<array_list, "java/util/ArrayList", list> {
  using java_class::java_class;
};

using Sample = qvjvm::instance<"client/Sample">;

using ClientTyped = ClientTest;

TEST_F(ClientTyped, AHostsOwnTypeForAJavaClass) {
  const array_list words = array_list::create(java);
  EXPECT_TRUE(words.add(L"one"));
  EXPECT_TRUE(words.add("two"));
  EXPECT_TRUE(words.add(qvjvm::boxed{3}));
  EXPECT_EQ(words.size(), 3);
  EXPECT_EQ(words.get(1).as<std::wstring>(), L"two");
  // Below its base, it goes where the base is wanted.
  const auto collections =
      qvjvm::instance<"java/util/Collections">::call_static<"unmodifiableList", list(list)>(java, words);
  EXPECT_EQ(collections.size(), 3);
}

TEST_F(ClientTyped, CreateGivesTheClassesOwnType) {
  const auto words = java.create<"java/util/ArrayList">(10);
  static_assert(std::is_same_v<decltype(words), const qvjvm::instance<"java/util/ArrayList">>);
  words.call<"add", bool(qvjvm::object)>("x");
  EXPECT_EQ((words.call<"size", int32_t>()), 1);
  const auto copy = array_list::create_as<void(collection)>(java, words);
  EXPECT_EQ(copy.size(), 1);
}

TEST_F(ClientTyped, ConstructorsAreToldApartByTheirTypes) {
  EXPECT_EQ((Sample::create(java).field<"ofText", std::wstring>()), L"none");
  EXPECT_EQ((Sample::create(java, 7).field<"ofInt", int32_t>()), 7);
  EXPECT_EQ((Sample::create_as<void(qvjvm::object)>(java, L"x").field<"ofObject", qvjvm::object>().as<std::wstring>()),
            L"x");
  EXPECT_TRUE((Sample::create_as<void(list)>(java, array_list::create(java)).field<"ofList", list>()));
  const auto by_name = java.find_class("client/Sample");
  EXPECT_EQ((by_name.create_as("(Ljava/lang/Object;)V", L"y").field<qvjvm::object>("ofObject").as<std::wstring>()),
            L"y");
}

// Writes and reads a field by name, through a handle, and named at compile time.
template <qvjvm::fixed_text Name, qvjvm::fixed_text Static, class T>
void ReadAndWrite(const qvjvm::jvm& java, const T& first, const T& second) {
  SCOPED_TRACE(Name.text);
  const auto sample = Sample::create(java);
  const auto cls = sample.get_class();
  sample.set_field<T>(Name.text, first);
  EXPECT_EQ((sample.field<Name, T>()), first);
  sample.set_field<Name, T>(second);
  EXPECT_EQ((sample.object::template field<T>(Name.text)), second);
  const auto handle = cls.template find_field<T>(Name.text);
  handle.set(sample, first);
  EXPECT_EQ(handle.get(sample), first);

  cls.template set_static_field<T>(Static.text, first);
  EXPECT_EQ((Sample::static_field<Static, T>(java)), first);
  Sample::set_static_field<Static, T>(java, second);
  EXPECT_EQ(cls.template static_field<T>(Static.text), second);
  const auto static_handle = cls.template find_static_field<T>(Static.text);
  static_handle.set(first);
  EXPECT_EQ(static_handle.get(), first);
}

TEST_F(ClientTyped, FieldsOfEveryTypeAreReadAndWritten) {
  ReadAndWrite<"ofBoolean", "staticBoolean">(java, true, false);
  ReadAndWrite<"ofByte", "staticByte">(java, int8_t{-128}, int8_t{127});
  ReadAndWrite<"ofChar", "staticChar">(java, u'\xFFFF', u'a');
  ReadAndWrite<"ofShort", "staticShort">(java, int16_t{-32768}, int16_t{32767});
  ReadAndWrite<"ofInt", "staticInt">(java, int32_t{-1}, int32_t{1} << 30);
  ReadAndWrite<"ofLong", "staticLong">(java, int64_t{-1}, int64_t{1} << 62);
  ReadAndWrite<"ofFloat", "staticFloat">(java, -0.5F, 1e30F);
  ReadAndWrite<"ofDouble", "staticDouble">(java, -0.1, 1e300);
  ReadAndWrite<"ofText", "staticText">(java, std::wstring(L"\u00e4"), std::wstring());
  ReadAndWrite<"ofText", "staticText">(java, std::optional<std::string>("x"), std::optional<std::string>());
}

TEST_F(ClientTyped, FieldsTakeWhatFitsTheirType) {
  const auto sample = Sample::create(java);
  sample.set_field<qvjvm::object>("ofObject", L"text");
  EXPECT_EQ(sample.field<qvjvm::object>("ofObject").as<std::wstring>(), L"text");
  sample.set_field("ofInts", std::vector<int32_t>{1, 2});
  EXPECT_THAT(sample.field<std::vector<int32_t>>("ofInts"), ElementsAre(1, 2));
  // An object whose class nobody knows is asked before it is stored.
  const qvjvm::object words = array_list::create(java);
  sample.set_field<"ofList", list>(words);
  EXPECT_TRUE((sample.field<"ofList", list>().same_as(words)));
  const qvjvm::object text = java.new_string("x");
  EXPECT_THAT(FailureOf([&] { sample.set_field<"ofList", list>(text); }).message(), HasSubstr(L"java.lang.String"));
  EXPECT_TRUE((sample.field<"ofList", list>().same_as(words)));
}

TEST_F(ClientTyped, HandlesOfMethodsConstructorsAndFields) {
  const auto cls = java.find_class("java/util/ArrayList");
  const auto construct = cls.find_constructor<array_list(int32_t)>();
  const auto add = cls.find_method<bool(qvjvm::object)>("add");
  const auto size = cls.find_method<int32_t()>("size");
  const qvjvm::thread_jvm here = java.on_this_thread();
  const array_list first = construct(10);
  const array_list second = construct(here, 10);
  EXPECT_TRUE(add(first, L"x"));
  EXPECT_EQ(size(first), 1);
  EXPECT_EQ(second.size(), 0);
  const auto parse = java.find_class("java/lang/Integer").find_static_method<int32_t(std::wstring_view)>("parseInt");
  EXPECT_EQ(parse(L"12"), 12);
  EXPECT_EQ(parse(here, "13"), 13);
  EXPECT_FALSE(parse.try_call(here, L"x"));
  EXPECT_THAT(FailureOf([&] { (void)cls.find_constructor<Sample()>(); }).message(), HasSubstr(L"another class"));
}

TEST_F(ClientTyped, DeclaredParametersConvertWhatTheyAreGiven) {
  const auto sample = Sample::create(java);
  EXPECT_EQ((sample.call<"wide", int64_t(int64_t)>(7)), 7);
  EXPECT_EQ((sample.call<"same", qvjvm::object(qvjvm::object)>("x").as<std::string>()), "x");
  // The parameter's class is asked for where the compiler cannot know it.
  const qvjvm::object words = array_list::create(java);
  const qvjvm::object text = java.new_string("x");
  EXPECT_EQ((qvjvm::instance<"java/util/Collections">::call_static<"unmodifiableList", list(list)>(java, words).size()),
            0);
  const auto refused =
      qvjvm::instance<"java/util/Collections">::try_call_static<"unmodifiableList", list(list)>(java, text);
  EXPECT_EQ(refused.reason().status(), QV_E_INVALIDARG);
  EXPECT_THAT(refused.reason().message(), HasSubstr(L"argument 1 is no Ljava/util/List;"));
}

TEST_F(ClientTyped, NumbersWidenToTheDeclaredParameter) {
  const auto sample = Sample::create(java);
  EXPECT_EQ((sample.call<"wide", int64_t(int64_t)>(int8_t{-1})), -1);
  EXPECT_EQ((sample.call<"wide", int64_t(int64_t)>(u'a')), 'a');
  EXPECT_EQ((java.call_static<"java/lang/Math", "abs", double(double)>(int64_t{-7})), 7.0);
}

TEST_F(ClientTyped, AKeptBoxComesBackAsItsValue) {
  using integer = qvjvm::instance<"java/lang/Integer">;
  const qvjvm::global kept(integer::call_static<"valueOf", integer>(java, 7));
  EXPECT_EQ(kept.on_this_thread<int32_t>(), 7);
  EXPECT_FALSE(kept.try_on_this_thread<int64_t>());
}

TEST_F(ClientTyped, WhatIsMissingIsNamed) {
  using Nothing = qvjvm::instance<"no/such/Thing">;
  EXPECT_THAT(Nothing::try_create(java).reason().message(), HasSubstr(L"no/such/Thing"));
  const auto sample = Sample::create(java);
  EXPECT_THAT(sample.try_call<"fly">().reason().message(), HasSubstr(L"fly"));
  EXPECT_THAT((sample.try_field<"wings", int32_t>().reason().message()), HasSubstr(L"wings"));
  EXPECT_THAT((Sample::try_static_field<"wings", int32_t>(java).reason().message()), HasSubstr(L"wings"));
  EXPECT_THAT((Sample::try_call_static<"same", qvjvm::object(qvjvm::object)>(java, "x").reason().message()),
              HasSubstr(L"same"));
  EXPECT_THAT(sample.try_set_field("ofInt", int64_t{1}).reason().message(), HasSubstr(L"ofInt"));
}

// A class that two loaders have: one C++ type, two Java classes, and the ids of each for its own objects.
TEST_F(ClientTyped, EveryClassLoaderHasItsOwnClassesAndIds) {
  using Url = qvjvm::instance<"java/net/URL">;
  const auto folder = java.create<"java/io/File">(ProgramFolder() + L"\\clienttests.jar");
  const auto url = folder.call<"toURI", qvjvm::instance<"java/net/URI">>().call<"toURL", Url>();
  const auto urls = qvjvm::array<Url>::make(java, 1);
  urls.set(0, url);
  const auto open = [&] {
    return java.create<"java/net/URLClassLoader">(urls, qvjvm::instance<"java/lang/ClassLoader">());
  };
  const qvjvm::jvm other = java.with_loader(open());
  const qvjvm::jvm third = java.with_loader(open());
  for (int i = 0; i < 3; ++i) {
    int32_t value = i;
    for (const qvjvm::jvm* const where : {&java, &other, &third}) {
      Sample::set_static_field<"staticInt">(*where, value);
      value += 100;
    }
    EXPECT_EQ((Sample::static_field<"staticInt", int32_t>(java)), i);
    EXPECT_EQ((Sample::static_field<"staticInt", int32_t>(other)), 100 + i);
    EXPECT_EQ((Sample::static_field<"staticInt", int32_t>(third)), 200 + i);
  }
  const auto mine = Sample::create(java);
  const auto theirs = Sample::create(other, 7);
  EXPECT_EQ((theirs.field<"ofInt", int32_t>()), 7);
  EXPECT_FALSE(mine.get_class().same_as(theirs.get_class()));
  EXPECT_FALSE(theirs.is_instance_of(mine.get_class()));
  // An object is asked for the class of its own loader.
  EXPECT_TRUE(theirs.try_as<Sample>());
  EXPECT_TRUE(other.find_class("client/Sample").same_as(theirs.get_class()));
  EXPECT_FALSE(java.try_with_loader(mine));
  EXPECT_THAT(other.try_find_class("no/such/Thing").reason().message(), HasSubstr(L"no.such.Thing"));
}

TEST_F(ClientTyped, ALoaderGoesWhenItsHandlesAreGone) {
  auto loader = java.create<"java/net/URLClassLoader">(qvjvm::array<qvjvm::instance<"java/net/URL">>::make(java, 0));
  {
    const qvjvm::jvm other = java.with_loader(loader);
    EXPECT_TRUE(other.find_class("client/Sample"));
    EXPECT_TRUE(Sample::create(other));
  }
  const auto kept = qvjvm::instance<"java/lang/ref/WeakReference">::create_as<void(qvjvm::object)>(java, loader);
  EXPECT_TRUE((kept.call<"get", qvjvm::object>()));
  loader = {};
  for (int i = 0; i < 50 && kept.call<"get", qvjvm::object>(); ++i) java.call_static<"java/lang/System", "gc">();
  EXPECT_FALSE((kept.call<"get", qvjvm::object>()));
}

TEST_F(ClientTyped, ManyThreadsLookTheSameThingsUpAtOnce) {
  struct counter : qvjvm::java_class<counter, "java/util/concurrent/atomic/AtomicLong"> {
    using java_class::java_class;
  };
  const auto shared = counter::create(java);
  const qvjvm::global kept(shared);
  std::vector<std::thread> threads;
  for (int i = 0; i < 16; ++i) {
    threads.emplace_back([&] {
      for (int n = 0; n < 50; ++n) {
        // A fresh realm has nothing looked up yet.
        const qvjvm::jvm fresh = qvjvm::jvm::share(java.get());
        const auto mine = counter::create(fresh);
        mine.call<"set">(int64_t{n});
        kept.on_this_thread<counter>().call<"addAndGet", int64_t>(mine.call<"get", int64_t>());
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ((shared.call<"get", int64_t>()), 16 * 1225);
}

}  // namespace
}  // namespace qvtest
