// Java's streams over what the host has, and C++'s over Java's.
#include <filesystem>
#include <fstream>
#include <numeric>
#include <sstream>

#include "tests/client/client_fixture.h"

namespace qvtest {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

using ClientStreams = ClientTest;
using Input = qvjvm::instance<"java/io/InputStream">;
using Output = qvjvm::instance<"java/io/OutputStream">;
using Bytes = qvjvm::array<uint8_t>;

// Larger than several blocks, and no multiple of one.
std::vector<uint8_t> Pattern(size_t size = 300001) {
  std::vector<uint8_t> data(size);
  for (size_t i = 0; i < size; ++i) data[i] = static_cast<uint8_t>(i * 7 + i / 251);
  return data;
}

std::vector<uint8_t> ReadAll(const Input& from) { return from.call<"readAllBytes", std::vector<uint8_t>>(); }

TEST_F(ClientStreams, JavaReadsWhatTheHostHas) {
  const auto data = Pattern();
  EXPECT_EQ(ReadAll(qvjvm::new_input_stream(java, data)), data);
  std::istringstream text(std::string(data.begin(), data.end()));
  EXPECT_EQ(ReadAll(qvjvm::new_input_stream(java, text)), data);
  EXPECT_EQ(ReadAll(qvjvm::new_input_stream(
                java, std::make_shared<std::istringstream>(std::string(data.begin(), data.end())))),
            data);
  size_t at = 0;
  EXPECT_EQ(
      ReadAll(qvjvm::new_input_stream(java,
                                      [&](std::span<std::byte> into) {
                                        const size_t some = std::min({into.size(), data.size() - at, size_t{777}});
                                        std::memcpy(into.data(), data.data() + at, some);
                                        at += some;
                                        return some;
                                      })),
      data);
}

TEST_F(ClientStreams, AnInputStreamKeepsJavasRules) {
  const std::string text =
      "\x01\xFF"
      "cdef";
  const auto in = qvjvm::new_input_stream(java, text);
  EXPECT_EQ((in.call<"available", int32_t>()), 6);
  EXPECT_EQ((in.call<"read", int32_t>()), 1);
  EXPECT_EQ((in.call<"read", int32_t>()), 255);
  const auto into = Bytes::make(java, 10);
  EXPECT_EQ((in.call<"read", int32_t>(into, 2, 0)), 0);
  EXPECT_EQ((in.call<"read", int32_t>(into, 2, 3)), 3);
  EXPECT_EQ(into.at(2), 'c');
  EXPECT_EQ(into.at(5), 0);
  EXPECT_EQ((in.call<"read", int32_t>(into)), 1);
  EXPECT_EQ((in.call<"read", int32_t>(into)), -1);
  EXPECT_EQ((in.call<"read", int32_t>()), -1);
  for (const auto& [first, count] : {std::pair{-1, 1}, {0, -1}, {8, 3}}) {
    EXPECT_EQ((in.try_call<"read", int32_t>(into, first, count).reason().exception().class_name()),
              L"java.lang.IndexOutOfBoundsException");
  }
}

TEST_F(ClientStreams, JavaWritesToWhatTheHostHas) {
  const auto data = Pattern();
  const auto send = [&](const Output& to) {
    to.call<"write">(int32_t{data[0]});
    to.call<"write">(Bytes::make(java, data), 1, static_cast<int32_t>(data.size()) - 1);
    to.call<"flush">();
    to.call<"close">();
  };
  std::vector<std::byte> memory;
  send(qvjvm::new_output_stream(java, memory));
  EXPECT_EQ(memory.size(), data.size());
  EXPECT_EQ(std::memcmp(memory.data(), data.data(), data.size()), 0);
  std::ostringstream text;
  send(qvjvm::new_output_stream(java, text));
  EXPECT_EQ(text.str(), std::string(data.begin(), data.end()));
  const auto shared = std::make_shared<std::ostringstream>();
  send(qvjvm::new_output_stream(java, shared));
  EXPECT_EQ(shared->str(), text.str());
  EXPECT_EQ(shared.use_count(), 1);  // closed
  std::string taken;
  size_t largest = 0;
  send(qvjvm::new_output_stream(java, [&](std::span<const std::byte> block) {
    largest = std::max(largest, block.size());
    taken.append(reinterpret_cast<const char*>(block.data()), block.size());
  }));
  EXPECT_EQ(taken, text.str());
  EXPECT_EQ(largest, 64U << 10);
}

TEST_F(ClientStreams, AClosedOrRevokedStreamIsAnIOException) {
  const std::string text = "abc";
  const auto closed = qvjvm::new_input_stream(java, text);
  closed.call<"close">();
  closed.call<"close">();
  const auto failed = closed.try_call<"read", int32_t>();
  EXPECT_EQ(failed.reason().message(), L"java.io.IOException: the stream is closed");
  std::vector<std::byte> memory;
  const auto revoked = qvjvm::new_output_stream(java, memory);
  revoked.handle().revoke();
  EXPECT_EQ(revoked.try_call<"write">(1).reason().exception().class_name(), L"java.io.IOException");
  EXPECT_TRUE(revoked.try_call<"close">());
}

TEST_F(ClientStreams, FailuresOfTheHostAreIOExceptionsWithTheirCause) {
  const auto thrown =
      qvjvm::new_input_stream(java, [](std::span<std::byte>) -> size_t { throw std::out_of_range("no source"); });
  const auto failed = thrown.try_call<"read", int32_t>();
  EXPECT_EQ(failed.reason().message(), L"java.io.IOException: no source");
  EXPECT_THROW(std::rethrow_exception(failed.reason().exception().cause().host_exception()), std::out_of_range);
  const auto given = qvjvm::new_output_stream(
      java, [](std::span<const std::byte>) -> qvjvm::result<void> { return qvjvm::failure(QV_E_FAIL, L"no sink"); });
  EXPECT_EQ(given.try_call<"write">(1).reason().message(), L"java.io.IOException: no sink");
  const auto toomuch = qvjvm::new_input_stream(java, [](std::span<std::byte> into) { return into.size() + 1; });
  EXPECT_THAT((toomuch.try_call<"read", int32_t>().reason().message()), HasSubstr(L"more than it was asked for"));
  std::ofstream nowhere;
  const auto broken = qvjvm::new_output_stream(java, nowhere);
  EXPECT_THAT(broken.try_call<"write">(1).reason().message(), HasSubstr(L"takes no more"));
}

// What a Java stream gives, from Java's own streams.
TEST_F(ClientStreams, CppReadsAJavaStream) {
  const auto data = Pattern();
  const auto bytes = Bytes::make(java, data);
  qvjvm::input_streambuf buffer(java.create<"java/io/ByteArrayInputStream">(bytes));
  std::istream in(&buffer);
  EXPECT_EQ(in.get(), data[0]);
  std::vector<char> rest(data.size());
  in.read(rest.data(), static_cast<std::streamsize>(rest.size()));
  EXPECT_EQ(in.gcount(), static_cast<std::streamsize>(data.size()) - 1);
  EXPECT_TRUE(in.eof());
  EXPECT_EQ(std::memcmp(rest.data(), data.data() + 1, data.size() - 1), 0);
  EXPECT_FALSE(buffer.reason());
  buffer.close();
  const std::string numbers = "12 34";
  qvjvm::input_streambuf ours(qvjvm::new_input_stream(java, numbers));
  std::istream both(&ours);
  int first = 0;
  int second = 0;
  both >> first >> second;
  EXPECT_EQ(first + second, 46);
  EXPECT_EQ(qvjvm::input_streambuf::try_make(java.new_string("x")).reason().status(), QV_E_FAIL);
  EXPECT_FALSE(qvjvm::output_streambuf::try_make(qvjvm::object()));
}

TEST_F(ClientStreams, CppWritesAJavaStream) {
  const auto data = Pattern();
  const auto bytes = java.create<"java/io/ByteArrayOutputStream">();
  const auto written = [&] { return bytes.call<"toByteArray", std::vector<uint8_t>>(); };
  {
    qvjvm::output_streambuf buffer(bytes);
    std::ostream out(&buffer);
    out.put(static_cast<char>(data[0]));
    EXPECT_TRUE(written().empty());
    out.write(reinterpret_cast<const char*>(data.data()) + 1, static_cast<std::streamsize>(data.size()) - 1);
    out.flush();
    EXPECT_EQ(written(), data);
    for (int i = 0; i < 100000; ++i) out.put('x');
    out << "end";
  }
  EXPECT_EQ(written().size(), data.size() + 100003);
  EXPECT_EQ(written().back(), 'd');
}

TEST_F(ClientStreams, FailuresOfAJavaStreamAreTold) {
  const auto source =
      qvjvm::new_input_stream(java, [](std::span<std::byte>) -> size_t { throw std::out_of_range("no source"); });
  qvjvm::input_streambuf buffer(source);
  std::istream in(&buffer);
  EXPECT_EQ(in.get(), std::char_traits<char>::eof());
  EXPECT_TRUE(in.bad());
  EXPECT_EQ(buffer.reason().message(), L"java.io.IOException: no source");
  in.clear();
  in.exceptions(std::ios::badbit);
  EXPECT_THROW(in.get(), qvjvm::java_error);
  const auto sink =
      qvjvm::new_output_stream(java, [](std::span<const std::byte>) { throw std::out_of_range("no sink"); });
  qvjvm::output_streambuf full(sink);
  std::ostream out(&full);
  out << "x";
  out.flush();
  EXPECT_TRUE(out.bad());
  EXPECT_EQ(full.reason().message(), L"java.io.IOException: no sink");
  full.close();
  qvjvm::output_streambuf last(
      qvjvm::new_output_stream(java, [](std::span<const std::byte>) { throw std::out_of_range("no sink"); }));
  std::ostream(&last) << "left";
  EXPECT_THROW(last.close(), qvjvm::java_error);
}

}  // namespace
}  // namespace qvtest
