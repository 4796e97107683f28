#include <cstdio>
#include <map>
#include <sstream>
#include <stdexcept>
#include <thread>
#include "qvjvm/callbacks.hpp"

// ---- options of an application ----

qvjvm::jvm start() {
  using namespace qvjvm::literals;
  return qvjvm::jvm::start(qvjvm::options()
                               .heap(256_MiB)
                               .option("-XX:+UseSerialGC")
                               .property("tour.name", "all of it")
                               .class_path({L"plugins.jar"})
                               .compiled());
}

// ---- a class of one's own ----

struct collection : qvjvm::java_class<collection, "java/util/Collection"> {
  using java_class::java_class;
  int32_t size() const { return call<"size", int32_t>(); }
};
struct list : qvjvm::java_class<list, "java/util/List", collection> {
  using java_class::java_class;
  void add(const std::wstring& text) const { call<"add", bool(qvjvm::object)>(text); }
};
struct array_list : qvjvm::java_class<array_list, "java/util/ArrayList", list> {
  using java_class::java_class;
};

void classes(const qvjvm::jvm& java) {
  const array_list words = array_list::create(java);
  words.add(L"one");
  words.add(L"two");
  const auto copy = array_list::create_as<void(collection)>(java, words);  // declared: ArrayList(Collection)
  std::printf("%d words\n", copy.size());
}

// ---- names at run time ----

void names(const qvjvm::jvm& java) {
  const qvjvm::class_ref cls = java.find_class("java/lang/StringBuilder");
  const qvjvm::object text = cls.create(L"ab");
  text.call<qvjvm::instance<"java/lang/StringBuilder">>("reverse");
  std::printf("%s\n", text.call<std::string>("toString").c_str());

  const auto length = cls.find_method<int32_t()>("length");  // looked up once
  std::printf("%d\n", length(text));

  // The declared types, where the arguments' are others; a literal is checked by the compiler.
  text.call_as("append", "(Ljava/lang/Object;)Ljava/lang/StringBuilder;", L"c");
}

// ---- text and null ----

void texts(const qvjvm::jvm& java) {
  using system = qvjvm::instance<"java/lang/System">;
  const auto separator = system::call_static<"getProperty", std::wstring>(java, L"file.separator");
  const auto missing = system::call_static<"getProperty", std::optional<std::string>>(java, "no.such.property");
  std::printf("%ls %s\n", separator.c_str(), missing ? "there" : "not there");
}

// ---- arrays ----

void arrays(const qvjvm::jvm& java) {
  const auto bytes = qvjvm::array<uint8_t>::make(java, 1 << 20);  // 1 MiB in Java
  const std::vector<uint8_t> head = {0x50, 0x4B};
  bytes.set_region(0, head);
  std::array<uint8_t, 4> part{};
  bytes.get_region(0, part);
  const auto texts = java.new_string("a,b,c").call<std::vector<std::string>>("split", ",");
  std::printf("%d bytes, %02x, %d texts\n", bytes.length(), part[1], static_cast<int>(texts.size()));
}

// ---- collections ----

void collections(const qvjvm::jvm& java) {
  const auto ages = qvjvm::new_map(java, std::map<std::string, int32_t>{{"Ada", 36}, {"Grace", 85}});
  for (const auto& [name, age] : qvjvm::entries<std::string, int32_t>(ages)) std::printf("%s %d\n", name.c_str(), age);
  const auto numbers = qvjvm::new_list(java, std::vector<int32_t>{1, 2, 3});
  int32_t sum = 0;
  for (const int32_t number : qvjvm::elements<int32_t>(numbers)) sum += number;
  std::printf("%d\n", sum);
}

// ---- exceptions ----

void exceptions(const qvjvm::jvm& java) {
  try {
    (void)java.create<"java/io/FileInputStream">("no such file");
  } catch (const qvjvm::java_error& error) {
    if (const auto missing = error.catch_as<"java/io/FileNotFoundException">()) {
      std::printf("%ls in %ls\n", error.class_name().c_str(), missing->stack_trace().at(0).method.c_str());
    }
  }
  const auto parsed = java.try_call_static<"java/lang/Integer", "parseInt", int32_t>("seventeen");  // throws nothing
  std::printf("%s\n", parsed ? "a number" : parsed.reason().what());
}

// ---- threads ----

void threads(const qvjvm::jvm& java) {
  const qvjvm::global shared(java.create<"java/util/concurrent/atomic/AtomicLong">());
  std::thread worker([&] {
    const qvjvm::thread_jvm here = java.on_this_thread();  // asks for the thread once, for many calls
    for (int i = 0; i < 3; ++i) {
      const auto value = here.call_static<"java/lang/Long", "parseLong", int64_t>(std::to_string(i));
      shared.on_this_thread<qvjvm::instance<"java/util/concurrent/atomic/AtomicLong">>().call<"addAndGet", int64_t>(
          value);
    }
  });
  worker.join();
  std::printf("%lld\n", static_cast<long long>(shared.on_this_thread().call<int64_t>("get")));
}

// ---- callbacks ----

void callbacks(const qvjvm::jvm& java) {
  const auto words = qvjvm::new_list(java, std::vector<std::string>{"three", "a", "by"});
  const auto shorter = qvjvm::implement<"java/util/Comparator">(
      java, [](const std::string& left, const std::string& right) { return left.size() < right.size() ? -1 : 1; });
  words.call<"sort", void(qvjvm::instance<"java/util/Comparator">)>(shorter);
  std::printf("%s\n", words.call<"toString", std::string>().c_str());

  int32_t count = 2;
  const auto countdown = qvjvm::implement<"java/util/Iterator">(java, qvjvm::on<"hasNext">([&] { return count > 0; }),
                                                                qvjvm::on<"next">([&] { return --count; }));
  for (const int32_t number : qvjvm::elements<int32_t>(countdown)) std::printf("%d\n", number);
  countdown.revoke();  // `count` ends, and Java may still have the object

  const auto failing = qvjvm::implement<"java/lang/Runnable">(java, [] { throw std::out_of_range("too far"); });
  try {
    failing.call<"run">();
  } catch (const std::out_of_range& error) {  // the same that was thrown
    std::printf("%s\n", error.what());
  }
}

// ---- streams ----

void streams(const qvjvm::jvm& java) {
  std::istringstream source("streams of the host");
  const auto in = qvjvm::new_input_stream(java, source);
  std::vector<std::byte> written;
  const auto out = qvjvm::new_output_stream(java, written);
  in.call<"transferTo", int64_t(qvjvm::instance<"java/io/OutputStream">)>(out);
  std::printf("%d bytes\n", static_cast<int>(written.size()));

  qvjvm::input_streambuf buffer(java.create<"java/io/ByteArrayInputStream">(std::vector<int8_t>{'1', '7'}));
  int number = 0;
  std::istream(&buffer) >> number;
  std::printf("%d\n", number);
}

// ---- beside the host's own work ----

void start_beside() {
  const qvjvm::starting_jvm starting = qvjvm::jvm::start_async(qvjvm::options().compiled());
  std::puts("the host reads its own files, opens its window");
  const qvjvm::jvm java = starting.get();  // waits, and throws what jvm::start throws
  std::printf("Java is %s\n", java.created() ? "there" : "another's");
}

int main() {
  try {
    const qvjvm::jvm java = start();
    classes(java);
    names(java);
    texts(java);
    arrays(java);
    collections(java);
    exceptions(java);
    threads(java);
    callbacks(java);
    streams(java);
    start_beside();
  } catch (const qvjvm::error& error) {
    std::printf("%s\n", error.what());
    return 1;
  }
}
