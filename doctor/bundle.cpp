// Stored, not compressed: the few files are small, and the build machine's packages have no zip library for Windows.
#include "doctor/bundle.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <fstream>

#include "doctor/print.h"
#include "doctor/secrets.h"

namespace doctor {

namespace {

namespace fs = std::filesystem;

constexpr std::streamoff kMostBytes = 1024 * 1024;
constexpr size_t kMostCrashes = 5;

uint32_t Checksum(const std::string& bytes) {
  uint32_t sum = 0xFFFFFFFF;
  for (const char byte : bytes) {
    sum ^= static_cast<unsigned char>(byte);
    for (int bit = 0; bit < 8; ++bit) sum = (sum >> 1U) ^ ((sum & 1U) != 0 ? 0xEDB88320U : 0U);
  }
  return ~sum;
}

template <class... Fields>
std::string Record(Fields... fields) {
  std::string bytes;
  const auto add = [&](auto field) {
    for (size_t i = 0; i < sizeof(field); ++i) bytes += static_cast<char>(uint64_t{field} >> (8 * i) & 0xFFU);
  };
  (add(fields), ...);
  return bytes;
}

std::string EndOf(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  file.seekg(0, std::ios::end);
  const std::streamoff size = file.tellg();
  if (size <= 0) return {};
  file.seekg(std::max<std::streamoff>(0, size - kMostBytes));
  return {std::istreambuf_iterator<char>(file), {}};
}

std::string Utf8Of(const fs::path& path) { return ToUtf8(path.wstring()); }

// What a JVM leaves in the folder it ran in, the newest first.
std::vector<fs::path> CrashFiles(const Facts& facts) {
  std::vector<fs::path> found;
  std::error_code error;
  for (const fs::path& folder : {fs::path(facts.question.hostFolder), fs::path(facts.question.serviceFolder),
                                 fs::current_path(error), fs::temp_directory_path(error)}) {
    for (const auto& entry : fs::directory_iterator(folder, error)) {
      const std::wstring name = entry.path().filename().wstring();
      const bool crash = name.starts_with(L"hs_err_") && name.ends_with(L".log");
      if (crash && std::find(found.begin(), found.end(), entry.path()) == found.end()) found.push_back(entry.path());
    }
  }
  const auto written = [](const fs::path& path) {
    std::error_code ignored;
    return fs::last_write_time(path, ignored);
  };
  std::sort(found.begin(), found.end(),
            [&](const fs::path& left, const fs::path& right) { return written(left) > written(right); });
  found.erase(std::unique(found.begin(), found.end()), found.end());
  if (found.size() > kMostCrashes) found.resize(kMostCrashes);
  return found;
}

}  // namespace

std::string AsZip(const std::vector<BundledFile>& files) {
  constexpr uint16_t kVersion = 20;
  constexpr uint16_t kUtf8Names = 0x0800;
  constexpr uint16_t kNone = 0;
  constexpr uint16_t kFirstDay = 0x21;  // 1980-01-01: the report has the time
  std::string archive;
  std::string directory;
  for (const BundledFile& file : files) {
    const auto offset = static_cast<uint32_t>(archive.size());
    const auto size = static_cast<uint32_t>(file.content.size());
    const std::string both = Record(kVersion, kUtf8Names, kNone, kNone, kFirstDay, Checksum(file.content), size, size,
                                    static_cast<uint16_t>(file.name.size()), kNone);
    archive += Record(uint32_t{0x04034B50}) + both + file.name + file.content;
    directory +=
        Record(uint32_t{0x02014B50}, kVersion) + both + Record(kNone, kNone, kNone, uint32_t{0}, offset) + file.name;
  }
  const auto count = static_cast<uint16_t>(files.size());
  return archive + directory +
         Record(uint32_t{0x06054B50}, kNone, kNone, count, count, static_cast<uint32_t>(directory.size()),
                static_cast<uint32_t>(archive.size()), kNone);
}

std::vector<BundledFile> CollectBundle(const Facts& facts, bool withSecrets) {
  std::vector<BundledFile> files = {{"report.html", AsHtml(facts), {}},
                                    {"report.json", AsJson(facts), {}},
                                    {"report.txt", ToUtf8(AsText(facts, false)), {}}};
  const auto add = [&](const std::string& name, const fs::path& path) {
    const std::string content = EndOf(path);
    if (!content.empty()) files.push_back({name, withSecrets ? content : WithoutSecrets(content), Utf8Of(path)});
  };
  if (!facts.log.path.empty()) add("vm.out", facts.log.path);
  for (const fs::path& path : CrashFiles(facts)) add(Utf8Of(path.filename()), path);
  add("qvshr.ini", fs::path(facts.question.hostFolder) / L"qvshr.ini");
  if (facts.runtime) add("release", fs::path(facts.runtime->home) / L"release");
  std::string list = std::string("What is in this file. ") +
                     (withSecrets ? "Secrets were kept on request.\n"
                                  : "Values whose names say password, secret, token and the like are ***.\n") +
                     "\n";
  for (const BundledFile& file : files) {
    list += file.name + "  " + std::to_string(file.content.size()) + " bytes" +
            (file.from.empty() ? "" : "  from " + file.from) + "\n";
  }
  files.insert(files.begin(), {"contents.txt", list, {}});
  return files;
}

}  // namespace doctor
