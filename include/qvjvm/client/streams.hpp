/// @file
/// Java's streams over what the host has, and C++'s stream buffers over Java's streams. Data goes in blocks of at most
/// 64 KiB; between memory of the host and Java's arrays it is copied once.
///
/// @code
/// std::ifstream file("report.fo", std::ios::binary);
/// const auto in = qvjvm::new_input_stream(java, file);
/// const auto out = qvjvm::new_output_stream(java, [&](std::span<const std::byte> block) { send(block); });
/// render.call<"run">(in, out);
/// in.revoke();  // the file ends, and Java may still have the stream
///
/// qvjvm::input_streambuf buffer(java_stream);
/// std::istream text(&buffer);
/// @endcode
///
/// Errors: what the host's code throws, or a failure that it hands back, is a java.io.IOException with its text, whose
/// cause has it (see throwable::host_exception); so is the use of a stream that was closed or taken back. Closing a
/// stream, even more than once, reaches the host once and ends its part.
///
/// Threads: any, but one at a time for each stream, as for Java's own.
#pragma once

#include <istream>
#include <ostream>
#include <streambuf>

#include "qvjvm/client/callbacks.hpp"

namespace qvjvm {

namespace detail {

inline constexpr size_t block_size = size_t{64} << 10;

/// A block of memory that is kept between calls. Calls at the same time, which a host should not make, get their own.
class block_keeper {
 public:
  block_keeper() = default;
  block_keeper(const block_keeper&) = delete;
  block_keeper& operator=(const block_keeper&) = delete;
  ~block_keeper() { delete[] kept_.load(std::memory_order_relaxed); }

  /// Calls `use(block)` with a block of that size or the largest one.
  template <class Use>
  auto with(size_t wanted, const Use& use) {
    std::unique_ptr<std::byte[]> block(kept_.exchange(nullptr, std::memory_order_acquire));
    if (!block) block = std::make_unique_for_overwrite<std::byte[]>(block_size);
    auto done = use(std::span(block.get(), std::min(wanted, block_size)));
    delete[] kept_.exchange(block.release(), std::memory_order_release);
    return done;
  }

 private:
  std::atomic<std::byte*> kept_{nullptr};
};

using byte_array = array<std::byte>;

/// What a function of the host gives: a value, or a result of one.
template <class T>
result<size_t> as_count(T&& given) {
  if constexpr (content_of<std::remove_cvref_t<T>>::is_result) {
    if (!given) return given.reason();
    return static_cast<size_t>(given.value());
  } else {
    return static_cast<size_t>(given);
  }
}

/// Reads by a function that fills a block from its beginning and says how much it filled, 0 at the end.
template <class Fill>
class filling_source {
 public:
  explicit filling_source(Fill fill) : fill_(std::move(fill)) {}
  result<int32_t> read(const byte_array& into, int32_t first, int32_t count) {
    return blocks_.with(static_cast<size_t>(count), [&](std::span<std::byte> block) -> result<int32_t> {
      const auto filled = as_count(fill_(block));
      if (!filled) return filled.reason();
      if (filled.value() == 0) return -1;
      if (filled.value() > block.size()) return failure(invalid(L"a source gave more than it was asked for"));
      const auto copied = into.try_set_region(first, block.first(filled.value()));
      if (!copied) return copied.reason();
      return static_cast<int32_t>(filled.value());
    });
  }
  int32_t available() noexcept { return 0; }
  void close() noexcept {}

 private:
  Fill fill_;
  block_keeper blocks_;
};

/// Reads from a C++ stream's buffer.
template <class Owner>
class istream_source {
 public:
  explicit istream_source(Owner stream) : stream_(std::move(stream)) {}
  result<int32_t> read(const byte_array& into, int32_t first, int32_t count) { return from_.read(into, first, count); }
  int32_t available() {
    const std::streamsize there = stream_->rdbuf()->in_avail();
    return static_cast<int32_t>(std::clamp<std::streamsize>(there, 0, std::numeric_limits<int32_t>::max()));
  }
  void close() noexcept {}

 private:
  struct fill {
    const Owner* stream;
    size_t operator()(std::span<std::byte> block) const {
      return static_cast<size_t>(
          (*stream)->rdbuf()->sgetn(reinterpret_cast<char*>(block.data()), static_cast<std::streamsize>(block.size())));
    }
  };

  Owner stream_;
  filling_source<fill> from_{fill{&stream_}};
};

/// Reads from memory.
class memory_source {
 public:
  explicit memory_source(std::span<const std::byte> memory) noexcept : left_(memory) {}
  result<int32_t> read(const byte_array& into, int32_t first, int32_t count) {
    if (left_.empty()) return -1;
    const auto some = left_.first(std::min(left_.size(), static_cast<size_t>(count)));
    const auto copied = into.try_set_region(first, some);
    if (!copied) return copied.reason();
    left_ = left_.subspan(some.size());
    return static_cast<int32_t>(some.size());
  }
  int32_t available() noexcept { return static_cast<int32_t>(std::min(left_.size(), longest)); }
  void close() noexcept {}

 private:
  std::span<const std::byte> left_;
};

/// Writes by a function that takes blocks.
template <class Take>
class taking_sink {
 public:
  explicit taking_sink(Take take) : take_(std::move(take)) {}
  result<void> write(const byte_array& from, int32_t first, int32_t count) {
    for (const int32_t end = first + count; first < end;) {
      const auto done = blocks_.with(static_cast<size_t>(end - first), [&](std::span<std::byte> block) -> result<void> {
        const auto copied = from.try_get_region(first, block);
        if (!copied) return copied;
        first += static_cast<int32_t>(block.size());
        using given = decltype(take_(std::span<const std::byte>(block)));
        if constexpr (std::is_void_v<given>) {
          take_(std::span<const std::byte>(block));
          return {};
        } else {
          return take_(std::span<const std::byte>(block));
        }
      });
      if (!done) return done;
    }
    return {};
  }
  result<void> flush() { return {}; }
  void close() noexcept {}

 private:
  Take take_;
  block_keeper blocks_;
};

/// Writes to a C++ stream's buffer.
template <class Owner>
class ostream_sink {
 public:
  explicit ostream_sink(Owner stream) : stream_(std::move(stream)) {}
  result<void> write(const byte_array& from, int32_t first, int32_t count) { return to_.write(from, first, count); }
  result<void> flush() {
    stream_->flush();
    if (stream_->good()) return {};
    return failure(QV_E_FAIL, L"the C++ stream could not be flushed");
  }
  result<void> close() { return flush(); }

 private:
  struct take {
    const Owner* stream;
    result<void> operator()(std::span<const std::byte> block) const {
      const auto count = static_cast<std::streamsize>(block.size());
      if ((*stream)->rdbuf()->sputn(reinterpret_cast<const char*>(block.data()), count) == count) return {};
      return failure(QV_E_FAIL, L"the C++ stream takes no more");
    }
  };

  Owner stream_;
  taking_sink<take> to_{take{&stream_}};
};

/// Appends to memory.
class memory_sink {
 public:
  explicit memory_sink(std::vector<std::byte>& memory) noexcept : memory_(&memory) {}
  result<void> write(const byte_array& from, int32_t first, int32_t count) {
    const size_t before = memory_->size();
    memory_->resize(before + static_cast<size_t>(count));
    auto copied = from.try_get_region(first, std::span(*memory_).subspan(before));
    if (!copied) memory_->resize(before);
    return copied;
  }
  result<void> flush() { return {}; }
  void close() noexcept {}

 private:
  std::vector<std::byte>* memory_;
};

/// A function of a stream, for Java.
template <class Signature, class Function>
auto stream_function(Function function) {
  return named_function<"", Signature, Function>{std::move(function)};
}

/// A Java stream of that class of ours over the host's functions, in the order in which java/ has them.
template <fixed_text Class, fixed_text Own, class... Named>
result<hosted<Class>> make_stream(const context& java, Named&&... functions) {
  const auto kit = need_kit(java);
  if (kit.why != nullptr) return failure(kit.why);
  auto* const part = new host_functions<Named...>(java, std::move(functions)...);
  auto made = instance<Own>::try_create(kit.value.on(java.env), to_bits(part));
  if (!made) {
    part->end();
    return made.reason();
  }
  return hosted<Class>(local(java, made.value().take().release()), kit.value.home);
}

template <class Source>
result<hosted<"java/io/InputStream">> make_input(const context& java, std::shared_ptr<Source> source) {
  return make_stream<"java/io/InputStream", "qvjvm/HostInput">(
      java,
      stream_function<result<int32_t>(byte_array, int32_t, int32_t)>(
          [source](const byte_array& into, int32_t first, int32_t count) { return source->read(into, first, count); }),
      stream_function<int32_t()>([source] { return source->available(); }),
      stream_function<void()>([source] { source->close(); }));
}

template <class Sink>
result<hosted<"java/io/OutputStream">> make_output(const context& java, std::shared_ptr<Sink> sink) {
  using done = decltype(sink->close());
  return make_stream<"java/io/OutputStream", "qvjvm/HostOutput">(
      java,
      stream_function<result<void>(byte_array, int32_t, int32_t)>(
          [sink](const byte_array& from, int32_t first, int32_t count) { return sink->write(from, first, count); }),
      stream_function<result<void>()>([sink] { return sink->flush(); }),
      stream_function<done()>([sink] { return sink->close(); }));
}

/// A function that fills memory.
template <class T>
concept fills_memory = requires(T& function, std::span<std::byte> block) {
  as_count(function(block));
};
/// A function that takes memory.
template <class T>
concept takes_memory = requires(T& function, std::span<const std::byte> block) {
  function(block);
};

/// Memory of single bytes, of whatever C++ type.
template <class T>
concept byte_memory = std::ranges::contiguous_range<T> && sizeof(std::ranges::range_value_t<T>) == 1;

/// The source that a host's object is.
template <class From>
auto source_of(From&& from) {
  using type = std::remove_cvref_t<From>;
  if constexpr (std::derived_from<type, std::istream>) {
    static_assert(std::is_lvalue_reference_v<From>, "qvjvm: the stream has to stay: give a std::shared_ptr of it");
    return std::make_shared<istream_source<std::istream*>>(&from);
  } else if constexpr (std::is_convertible_v<From, std::shared_ptr<std::istream>>) {
    return std::make_shared<istream_source<std::shared_ptr<std::istream>>>(std::forward<From>(from));
  } else if constexpr (byte_memory<type>) {
    static_assert(std::is_lvalue_reference_v<From> || std::ranges::borrowed_range<type>,
                  "qvjvm: the memory has to stay: give a function that holds it");
    return std::make_shared<memory_source>(std::as_bytes(std::span(from)));
  } else {
    static_assert(fills_memory<type>,
                  "qvjvm: a Java InputStream reads from a std::istream, from memory, or by a function that fills a "
                  "std::span<std::byte> and says how much");
    return std::make_shared<filling_source<type>>(std::forward<From>(from));
  }
}

/// The sink that a host's object is.
template <class To>
auto sink_of(To&& to) {
  using type = std::remove_cvref_t<To>;
  if constexpr (std::derived_from<type, std::ostream>) {
    static_assert(std::is_lvalue_reference_v<To>, "qvjvm: the stream has to stay: give a std::shared_ptr of it");
    return std::make_shared<ostream_sink<std::ostream*>>(&to);
  } else if constexpr (std::is_convertible_v<To, std::shared_ptr<std::ostream>>) {
    return std::make_shared<ostream_sink<std::shared_ptr<std::ostream>>>(std::forward<To>(to));
  } else if constexpr (std::is_same_v<type, std::vector<std::byte>>) {
    static_assert(std::is_lvalue_reference_v<To>, "qvjvm: the memory has to stay");
    return std::make_shared<memory_sink>(to);
  } else {
    static_assert(takes_memory<type>,
                  "qvjvm: a Java OutputStream writes to a std::ostream, a std::vector<std::byte>, or a function that "
                  "takes a std::span<const std::byte>");
    return std::make_shared<taking_sink<type>>(std::forward<To>(to));
  }
}

}  // namespace detail

/// A java.io.InputStream over what the host has: a `std::istream&`, or a std::shared_ptr of one; memory of bytes; or a
/// function that fills a `std::span<std::byte>` from its beginning and gives how much it filled, 0 at the end, or a
/// qvjvm::result of that. What is given by reference, memory too, has to stay until the stream is revoked or forgotten.
/// @throws qvjvm::error when Java has no memory.
template <detail::origin Where, class From>
[[nodiscard]] result<hosted<"java/io/InputStream">> try_new_input_stream(const Where& where, From&& from) {
  const auto java = enter_from(where);
  if (java.why != nullptr) return failure(java.why);
  return detail::make_input(java.value, detail::source_of(std::forward<From>(from)));
}
/// The same, thrown.
template <detail::origin Where, class From>
[[nodiscard]] hosted<"java/io/InputStream"> new_input_stream(const Where& where, From&& from) {
  return try_new_input_stream(where, std::forward<From>(from)).value();
}

/// A java.io.OutputStream over what the host has: a `std::ostream&`, or a std::shared_ptr of one; a
/// `std::vector<std::byte>&`, which grows; or a function that takes a `std::span<const std::byte>`, and gives nothing
/// or a qvjvm::result<void>. What is given by reference has to stay until the stream is revoked or forgotten.
/// @throws qvjvm::error when Java has no memory.
template <detail::origin Where, class To>
[[nodiscard]] result<hosted<"java/io/OutputStream">> try_new_output_stream(const Where& where, To&& to) {
  const auto java = enter_from(where);
  if (java.why != nullptr) return failure(java.why);
  return detail::make_output(java.value, detail::sink_of(std::forward<To>(to)));
}
/// The same, thrown.
template <detail::origin Where, class To>
[[nodiscard]] hosted<"java/io/OutputStream"> new_output_stream(const Where& where, To&& to) {
  return try_new_output_stream(where, std::forward<To>(to)).value();
}

namespace detail {

/// A Java stream that a C++ stream buffer uses, and an array for the blocks between them.
template <fixed_text Class>
class java_stream {
 public:
  using type = instance<Class>;

  static outcome<java_stream> open(const object& stream) {
    const auto typed = stream.try_as<type>();
    if (!typed) return failed<java_stream>(typed.reason());
    const auto block = byte_array::try_make(stream, static_cast<int32_t>(block_size));
    if (!block) return failed<java_stream>(block.reason());
    auto kept = global::try_make(typed.value());
    if (!kept) return failed<java_stream>(kept.reason());
    auto kept_block = global::try_make(block.value());
    if (!kept_block) return failed<java_stream>(kept_block.reason());
    java_stream opened;
    opened.stream_ = std::move(kept).value();
    opened.block_ = std::move(kept_block).value();
    return {nullptr, std::move(opened)};
  }

  /// Calls `use(stream, block)` on the calling thread.
  template <class Use>
  auto with(const Use& use) const -> decltype(use(type(), byte_array())) {
    const auto stream = stream_.try_on_this_thread<type>();
    if (!stream) return stream.reason();
    const auto block = block_.try_on_this_thread<byte_array>();
    if (!block) return block.reason();
    return use(stream.value(), block.value());
  }

 private:
  global stream_;
  global block_;
};

/// A std::streambuf's failure: kept, and thrown for the C++ stream over it to catch, which sets its badbit.
class kept_failure {
 public:
  void keep(failure why) {
    why_ = std::move(why);
#if QVJVM_EXCEPTIONS
    why_.rethrow();
#endif
  }
  [[nodiscard]] const failure& get() const noexcept { return why_; }

 private:
  failure why_;
};

}  // namespace detail

/// Reads from a java.io.InputStream, in blocks: `std::istream in(&buffer)`. It keeps the stream; any thread, one at a
/// time. When Java fails, the C++ stream gets its badbit and reason() tells why; in builds without exceptions it is at
/// its end.
class input_streambuf : public std::streambuf {
 public:
  /// Over that stream.
  /// @throws qvjvm::error for null, or an object that is no InputStream.
  explicit input_streambuf(const object& stream)
      : input_streambuf(detail::value_of(detail::java_stream<"java/io/InputStream">::open(stream))) {}
  /// The same with a result instead of an exception.
  [[nodiscard]] static result<std::unique_ptr<input_streambuf>> try_make(const object& stream) {
    auto opened = detail::java_stream<"java/io/InputStream">::open(stream);
    if (opened.why != nullptr) return failure(opened.why);
    return std::unique_ptr<input_streambuf>(new input_streambuf(std::move(opened.value)));
  }

  /// Why Java could not read; empty when it could.
  [[nodiscard]] const failure& reason() const noexcept { return why_.get(); }
  /// Closes the Java stream.
  /// @throws java_error when Java does.
  void close() const { try_close().value(); }
  /// The same with a result instead of an exception.
  result<void> try_close() const {
    return from_.with([](const auto& stream, const auto&) { return stream.template try_call<"close">(); });
  }

 protected:
  /// Fetches a block.
  int_type underflow() override {
    if (gptr() == egptr()) {
      const size_t got = read_block(buffer_);
      setg(buffer_.data(), buffer_.data(), buffer_.data() + got);
    }
    return gptr() == egptr() ? traits_type::eof() : traits_type::to_int_type(*gptr());
  }
  /// Reads, large parts straight to where they are wanted.
  std::streamsize xsgetn(char* into, std::streamsize count) override {
    std::span<char> left(into, static_cast<size_t>(count));
    while (!left.empty()) {
      size_t got = 0;
      if (gptr() == egptr() && left.size() >= detail::block_size) {
        got = read_block(left);  // straight to where it is wanted
      } else if (underflow() != traits_type::eof()) {
        got = std::min(left.size(), static_cast<size_t>(egptr() - gptr()));
        traits_type::copy(left.data(), gptr(), got);
        gbump(static_cast<int>(got));
      }
      if (got == 0) break;
      left = left.subspan(got);
    }
    return count - static_cast<std::streamsize>(left.size());
  }
  /// What Java says is there without waiting.
  std::streamsize showmanyc() override {
    const auto there =
        from_.with([](const auto& stream, const auto&) { return stream.template try_call<"available", int32_t>(); });
    return there ? there.value() : 0;
  }

 private:
  explicit input_streambuf(detail::java_stream<"java/io/InputStream">&& from) : from_(std::move(from)) {}

  // One block at most; 0 at the end, or when Java failed.
  size_t read_block(std::span<char> into) {
    const auto got = from_.with([&](const auto& stream, const detail::byte_array& block) -> result<size_t> {
      const auto count = static_cast<int32_t>(std::min(into.size(), detail::block_size));
      const auto read =
          stream.template try_call<"read", int32_t(detail::byte_array, int32_t, int32_t)>(block, 0, count);
      if (!read) return read.reason();
      if (read.value() < 0) return size_t{0};
      if (read.value() == 0) return failure(QV_E_FAIL, L"the Java stream gave no byte and is not at its end");
      const auto some = static_cast<size_t>(read.value());
      const auto copied = block.try_get_region(0, std::as_writable_bytes(into.first(some)));
      if (!copied) return copied.reason();
      return some;
    });
    if (!got) why_.keep(got.reason());
    return got.value_or(0);
  }

  detail::java_stream<"java/io/InputStream"> from_;
  detail::kept_failure why_;
  std::vector<char> buffer_ = std::vector<char>(detail::block_size);
};

/// Writes to a java.io.OutputStream, in blocks: `std::ostream out(&buffer)`. It keeps the stream; any thread, one at a
/// time. What is in the buffer goes to Java with a flush, with close, and at the end of this object, which cannot tell
/// a failure any more. When Java fails, the C++ stream gets its badbit and reason() tells why.
class output_streambuf : public std::streambuf {
 public:
  /// Over that stream.
  /// @throws qvjvm::error for null, or an object that is no OutputStream.
  explicit output_streambuf(const object& stream)
      : output_streambuf(detail::value_of(detail::java_stream<"java/io/OutputStream">::open(stream))) {}
  /// The same with a result instead of an exception.
  [[nodiscard]] static result<std::unique_ptr<output_streambuf>> try_make(const object& stream) {
    auto opened = detail::java_stream<"java/io/OutputStream">::open(stream);
    if (opened.why != nullptr) return failure(opened.why);
    return std::unique_ptr<output_streambuf>(new output_streambuf(std::move(opened.value)));
  }
  ~output_streambuf() override {
#if QVJVM_EXCEPTIONS
    try {
      (void)try_drain();
    } catch (const std::exception&) {// no memory; close would have told
    }
#else
    (void)try_drain();
#endif
  }
  output_streambuf(const output_streambuf&) = delete;
  output_streambuf& operator=(const output_streambuf&) = delete;

  /// Why Java could not write; empty when it could.
  [[nodiscard]] const failure& reason() const noexcept { return why_.get(); }
  /// Writes what is left and closes the Java stream.
  /// @throws java_error when Java does.
  void close() { try_close().value(); }
  /// The same with a result instead of an exception.
  result<void> try_close() {
    auto drained = try_drain();
    auto closed = to_.with([](const auto& stream, const auto&) { return stream.template try_call<"close">(); });
    return drained ? closed : drained;
  }

 protected:
  /// Sends the block and keeps a character of the next one.
  int_type overflow(int_type unit) override {
    if (!check(try_drain())) return traits_type::eof();
    if (traits_type::eq_int_type(unit, traits_type::eof())) return traits_type::not_eof(unit);
    return sputc(traits_type::to_char_type(unit));
  }
  /// Writes, large parts straight from where they are.
  std::streamsize xsputn(const char* from, std::streamsize count) override {
    const std::span<const char> all(from, static_cast<size_t>(count));
    if (all.size() <= static_cast<size_t>(epptr() - pptr())) {
      traits_type::copy(pptr(), from, all.size());
      pbump(static_cast<int>(all.size()));
      return count;
    }
    return check(try_drain()) && check(try_write(all)) ? count : 0;
  }
  /// Sends what is there and flushes the Java stream.
  int sync() override {
    const bool done =
        check(try_drain()) &&
        check(to_.with([](const auto& stream, const auto&) { return stream.template try_call<"flush">(); }));
    return done ? 0 : -1;
  }

 private:
  explicit output_streambuf(detail::java_stream<"java/io/OutputStream">&& to) : to_(std::move(to)) { empty(); }

  void empty() noexcept { setp(buffer_.data(), buffer_.data() + buffer_.size()); }
  bool check(const result<void>& done) {
    if (!done) why_.keep(done.reason());
    return static_cast<bool>(done);
  }
  // What is in the buffer is lost when Java fails.
  result<void> try_drain() {
    const std::span<const char> filled(pbase(), pptr());
    empty();
    return filled.empty() ? result<void>() : try_write(filled);
  }
  result<void> try_write(std::span<const char> from) {
    return to_.with([&](const auto& stream, const detail::byte_array& block) -> result<void> {
      while (!from.empty()) {
        const auto some = from.first(std::min(from.size(), detail::block_size));
        auto done = block.try_set_region(0, std::as_bytes(some));
        if (done) {
          done = stream.template try_call<"write", void(detail::byte_array, int32_t, int32_t)>(
              block, 0, static_cast<int32_t>(some.size()));
        }
        if (!done) return done;
        from = from.subspan(some.size());
      }
      return {};
    });
  }

  detail::java_stream<"java/io/OutputStream"> to_;
  detail::kept_failure why_;
  std::vector<char> buffer_ = std::vector<char>(detail::block_size);
};

}  // namespace qvjvm
