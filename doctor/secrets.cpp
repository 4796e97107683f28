#include "doctor/secrets.h"

#include "doctor/option_notes.h"
#include "store/secret.h"

namespace doctor {

namespace {

constexpr std::wstring_view kHidden = L"***";

struct Secret {
  std::wstring text;
  std::wstring shown;
};

void AddSecret(std::vector<Secret>& secrets, const std::wstring& option) {
  const std::wstring_view shown = qv::WithoutSecret(option);
  if (shown.size() < option.size()) secrets.push_back({option, std::wstring(shown) + std::wstring(kHidden)});
}

void Hide(const std::vector<Secret>& secrets, std::wstring& text) {
  for (const Secret& secret : secrets) {
    for (size_t at = text.find(secret.text); at != std::wstring::npos;
         at = text.find(secret.text, at + secret.shown.size())) {
      text.replace(at, secret.text.size(), secret.shown);
    }
  }
}

bool IsBlank(char unit) { return unit == ' ' || (unit >= '\t' && unit <= '\r'); }

}  // namespace

void HideSecrets(Facts& facts) {
  std::vector<Secret> secrets;
  for (const Option& option : facts.options) AddSecret(secrets, option.text);
  for (const SettingName name : {SettingName::ToolOptions, SettingName::LateOptions, SettingName::LauncherOptions}) {
    const std::wstring* const value = facts.ValueOf(name);
    if (value == nullptr) continue;
    for (const std::wstring& word : WordsOf(*value)) AddSecret(secrets, word);
    // A value with quotes inside is not found word by word.
    if (value->find_first_of(L"\"'") != std::wstring::npos) AddSecret(secrets, *value);
  }
  for (Option& option : facts.options) Hide(secrets, option.text);
  for (Setting& setting : facts.settings) {
    if (setting.value) Hide(secrets, *setting.value);
  }
  for (Finding& finding : facts.findings) Hide(secrets, finding.cause);
  if (!facts.start) return;
  for (std::wstring& line : facts.start->output) Hide(secrets, line);
  for (std::wstring& line : facts.start->logTail) Hide(secrets, line);
}

std::string WithoutSecrets(const std::string& text) {
  std::string shown;
  for (size_t at = 0; at < text.size();) {
    if (IsBlank(text[at])) {
      shown += text[at++];
      continue;
    }
    size_t end = at;
    while (end < text.size() && !IsBlank(text[end])) ++end;
    const std::string word = text.substr(at, end - at);
    // Names are ASCII; what the other bytes mean does not matter.
    std::wstring wide;
    for (const char unit : word) wide += static_cast<wchar_t>(static_cast<unsigned char>(unit));
    const size_t kept = qv::WithoutSecret(wide).size();
    shown += kept < word.size() ? word.substr(0, kept) + "***" : word;
    at = end;
  }
  return shown;
}

}  // namespace doctor
