#include "bind/class_file.h"

#include <bit>
#include <stdexcept>

namespace binder {

namespace {

struct Damaged {};

class Reader {
 public:
  explicit Reader(std::span<const uint8_t> bytes) : m_bytes(bytes) {}

  uint32_t Number(size_t size) {
    uint32_t value = 0;
    for (const uint8_t byte : Take(size)) value = value << 8 | byte;
    return value;
  }
  uint32_t One() { return Number(1); }
  uint32_t Two() { return Number(2); }
  uint32_t Four() { return Number(4); }
  std::span<const uint8_t> Take(size_t size) {
    if (size > m_bytes.size() - m_at) throw Damaged();
    m_at += size;
    return m_bytes.subspan(m_at - size, size);
  }

 private:
  std::span<const uint8_t> m_bytes;
  size_t m_at = 0;
};

enum Tag : uint32_t {
  kUtf8 = 1,
  kInteger = 3,
  kFloat = 4,
  kLong = 5,
  kDouble = 6,
  kClass = 7,
  kString = 8,
  kMethodHandle = 15,
  kMethodType = 16,
  kModule = 19,
  kPackage = 20,
};

class Pool {
 public:
  explicit Pool(Reader& from) {
    const size_t count = from.Two();
    m_entries.resize(count);
    for (size_t i = 1; i < count; ++i) {
      Entry& entry = m_entries[i];
      entry.tag = from.One();
      switch (entry.tag) {
        case kUtf8: {
          const auto bytes = from.Take(from.Two());
          entry.text.assign(bytes.begin(), bytes.end());
          break;
        }
        case kLong:
        case kDouble:
          entry.value = uint64_t{from.Four()} << 32;
          entry.value |= from.Four();
          ++i;  // they take two places
          break;
        case kClass:
        case kString:
        case kMethodType:
        case kModule:
        case kPackage:
          entry.value = from.Two();
          break;
        case kMethodHandle:
          from.Take(3);
          break;
        default:
          if (entry.tag < kInteger || entry.tag > kPackage) throw Damaged();
          entry.value = from.Four();
      }
    }
  }

  [[nodiscard]] const std::string& Text(size_t index) const { return At(index, kUtf8).text; }

  [[nodiscard]] Constant ConstantAt(size_t index) const {
    if (index >= m_entries.size()) throw Damaged();
    const Entry& entry = m_entries[index];
    switch (entry.tag) {
      case kInteger:
        return static_cast<int32_t>(static_cast<uint32_t>(entry.value));
      case kFloat:
        return std::bit_cast<float>(static_cast<uint32_t>(entry.value));
      case kLong:
        return static_cast<int64_t>(entry.value);
      case kDouble:
        return std::bit_cast<double>(entry.value);
      case kString:
        return FromModifiedUtf8(Text(static_cast<size_t>(entry.value)));
      default:
        throw Damaged();
    }
  }

 private:
  struct Entry {
    uint32_t tag = 0;
    uint64_t value = 0;
    std::string text;
  };

  [[nodiscard]] const Entry& At(size_t index, uint32_t tag) const {
    if (index >= m_entries.size() || m_entries[index].tag != tag) throw Damaged();
    return m_entries[index];
  }

  std::vector<Entry> m_entries;
};

struct Local {
  uint32_t slot;
  std::string name;
};

// The names of the parameters among a method's local variables: those that live from its beginning, by their places.
std::vector<std::string> NamesByPlace(const std::vector<Local>& locals, std::string_view descriptor, bool isStatic) {
  std::vector<std::string> names;
  uint32_t slot = isStatic ? 0 : 1;
  for (size_t at = 1; at < descriptor.size() && descriptor[at] != ')'; ++at) {
    const bool wide = descriptor[at] == 'J' || descriptor[at] == 'D';
    while (at < descriptor.size() && descriptor[at] == '[') ++at;
    if (at < descriptor.size() && descriptor[at] == 'L') at = std::min(descriptor.find(';', at), descriptor.size());
    std::string found;
    for (const Local& local : locals) {
      if (local.slot == slot) found = local.name;
    }
    if (found.empty()) return {};
    names.push_back(found);
    slot += wide ? 2 : 1;
  }
  return names;
}

std::vector<Local> ReadLocals(Reader& from, const Pool& pool) {
  std::vector<Local> locals;
  for (uint32_t count = from.Two(); count > 0; --count) {
    const uint32_t start = from.Two();
    from.Two();
    const std::string& name = pool.Text(from.Two());
    from.Two();
    const uint32_t slot = from.Two();
    if (start == 0) locals.push_back({slot, name});
  }
  return locals;
}

void ReadCode(Reader& from, const Pool& pool, std::vector<Local>& locals) {
  from.Four();
  from.Take(from.Four());
  from.Take(size_t{8} * from.Two());
  for (uint32_t count = from.Two(); count > 0; --count) {
    const std::string& name = pool.Text(from.Two());
    Reader content(from.Take(from.Four()));
    if (name == "LocalVariableTable") locals = ReadLocals(content, pool);
  }
}

void ReadMembers(Reader& from, const Pool& pool, std::map<std::pair<std::string, std::string>, MemberInfo>& into) {
  for (uint32_t members = from.Two(); members > 0; --members) {
    const uint32_t modifiers = from.Two();
    const std::string& name = pool.Text(from.Two());
    const std::string& descriptor = pool.Text(from.Two());
    MemberInfo info;
    std::vector<Local> locals;
    for (uint32_t attributes = from.Two(); attributes > 0; --attributes) {
      const std::string& attribute = pool.Text(from.Two());
      Reader content(from.Take(from.Four()));
      if (attribute == "Signature") {
        info.signature = pool.Text(content.Two());
      } else if (attribute == "ConstantValue") {
        info.constant = pool.ConstantAt(content.Two());
      } else if (attribute == "Code") {
        ReadCode(content, pool, locals);
      } else if (attribute == "MethodParameters") {
        for (uint32_t count = content.One(); count > 0; --count) {
          const uint32_t index = content.Two();
          content.Two();
          info.parameterNames.push_back(index == 0 ? std::string() : pool.Text(index));
        }
      }
    }
    if (info.parameterNames.empty()) info.parameterNames = NamesByPlace(locals, descriptor, (modifiers & kStatic) != 0);
    into[{name, descriptor}] = std::move(info);
  }
}

ClassFile Read(Reader from) {
  if (from.Four() != 0xCAFEBABE) throw Damaged();
  from.Four();
  const Pool pool(from);
  from.Take(6);  // modifiers, class, superclass
  from.Take(size_t{2} * from.Two());
  ClassFile file;
  ReadMembers(from, pool, file.fields);
  ReadMembers(from, pool, file.methods);
  for (uint32_t attributes = from.Two(); attributes > 0; --attributes) {
    const std::string& attribute = pool.Text(from.Two());
    Reader content(from.Take(from.Four()));
    if (attribute == "Signature") file.signature = pool.Text(content.Two());
  }
  return file;
}

}  // namespace

std::optional<ClassFile> ReadClassFile(std::span<const uint8_t> bytes) {
  try {
    return Read(Reader(bytes));
  } catch (const Damaged&) {
    return std::nullopt;
  }
}

std::u16string FromModifiedUtf8(std::string_view bytes) {
  std::u16string text;
  const auto byte = [&](size_t at) -> uint32_t {
    return at < bytes.size() ? static_cast<unsigned char>(bytes[at]) & 0x3FU : 0;
  };
  for (size_t at = 0; at < bytes.size();) {
    const auto first = static_cast<unsigned char>(bytes[at]);
    uint32_t unit = first;
    size_t size = 1;
    if (first >= 0xE0) {
      unit = (first & 0x0FU) << 12 | byte(at + 1) << 6 | byte(at + 2);
      size = 3;
    } else if (first >= 0xC0) {
      unit = (first & 0x1FU) << 6 | byte(at + 1);
      size = 2;
    }
    text.push_back(static_cast<char16_t>(unit));
    at += size;
  }
  return text;
}

}  // namespace binder
