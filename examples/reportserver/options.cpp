#include "options.h"

#include <algorithm>
#include <cwctype>
#include <set>
#include <thread>

namespace reportserver {
namespace {

namespace fs = std::filesystem;

constexpr unsigned long kMostThreads = 64;

unsigned ReadThreads(const std::wstring& text) {
  const bool number = !text.empty() && text.size() < 4 && text.find_first_not_of(L"0123456789") == std::wstring::npos;
  const unsigned long threads = number ? std::stoul(text) : 0;
  if (threads == 0 || threads > kMostThreads) throw UsageError{L"--threads wants a number from 1 to 64, not " + text};
  return static_cast<unsigned>(threads);
}

/// The documents of a folder, or the file itself, which Java will miss when it is not there.
std::vector<fs::path> DocumentsIn(const fs::path& place) {
  std::error_code error;
  if (!fs::is_directory(place, error)) return {place};
  std::vector<fs::path> found;
  for (fs::directory_iterator at(place, error), end; !error && at != end; at.increment(error)) {
    if (at->path().extension() == L".fo" && at->is_regular_file(error)) found.push_back(at->path());
  }
  if (error) throw UsageError{place.wstring() + L" cannot be read"};
  if (found.empty()) throw UsageError{L"there is no .fo document in " + place.wstring()};
  std::sort(found.begin(), found.end());
  return found;
}

/// Windows takes names that differ in capitals for the same.
std::wstring KeyOf(const fs::path& path) {
  std::wstring key = path.wstring();
  std::transform(key.begin(), key.end(), key.begin(), [](wchar_t unit) { return std::towlower(unit); });
  return key;
}

/// Each document with the place of its PDF, which no other may have.
std::vector<Document> PlanOutputs(const std::vector<fs::path>& inputs, const fs::path& folder) {
  std::error_code error;
  if (!folder.empty() && !fs::is_directory(folder, error) && !fs::create_directories(folder, error)) {
    throw UsageError{L"the folder " + folder.wstring() + L" cannot be made"};
  }
  std::vector<Document> documents;
  std::set<std::wstring> taken;
  for (const fs::path& given : inputs) {
    const fs::path input = fs::absolute(given);
    const fs::path name = input.stem().wstring() + L".pdf";
    const fs::path output = (folder.empty() ? input.parent_path() : fs::absolute(folder)) / name;
    if (!taken.insert(KeyOf(output)).second) throw UsageError{L"two documents would be written to " + output.wstring()};
    documents.push_back({input, output});
  }
  return documents;
}

}  // namespace

const wchar_t* const kHelp =
    LR"(usage: reportserver [--out FOLDER] [--threads N] [--class-path JARS] DOCUMENT|FOLDER...

Converts XSL-FO documents, and all *.fo of the folders, to PDF.

  --out FOLDER       where the PDFs go; else beside the documents
  --threads N        documents at a time, 1 to 64; else as many as there are processors
  --class-path JARS  the jars of FOP 0.20.5, with semicolons; else the service's own class path

Ctrl+C gives up what is being converted and leaves nothing half written.

exit code  0  every PDF was written
           1  some were not; the error output tells why
           2  wrong usage
           3  no service, no Java VM or no FOP
           6  stopped by Ctrl+C
)";

Options ReadOptions(int argc, wchar_t** argv) {
  Options options;
  std::vector<fs::path> inputs;
  fs::path folder;
  options.threads = std::clamp(std::thread::hardware_concurrency(), 1u, static_cast<unsigned>(kMostThreads));
  const std::vector<std::wstring> words(argv + 1, argv + argc);
  for (size_t at = 0; at < words.size(); ++at) {
    const std::wstring& word = words[at];
    const auto value = [&] {
      if (++at == words.size()) throw UsageError{word + L" wants a value"};
      return words[at];
    };
    if (word == L"--help") {
      options.help = true;
      return options;
    }
    if (word == L"--out") {
      folder = value();
    } else if (word == L"--threads") {
      options.threads = ReadThreads(value());
    } else if (word == L"--class-path") {
      options.classPath = value();
    } else if (word.starts_with(L"-")) {
      throw UsageError{L"there is no option " + word};
    } else {
      for (fs::path& document : DocumentsIn(word)) inputs.push_back(std::move(document));
    }
  }
  if (inputs.empty()) throw UsageError{L"no document was named"};
  options.documents = PlanOutputs(inputs, folder);
  options.threads = std::min(options.threads, static_cast<unsigned>(inputs.size()));
  return options;
}

}  // namespace reportserver
