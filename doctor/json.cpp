// The facts for scripts: doctor/report.schema.json describes them, and a test holds every report to it.
#include <nlohmann/json.hpp>

#include "doctor/print.h"
#include "doctor/texts.h"

// Texts in JSON are UTF-8.
template <>
struct nlohmann::adl_serializer<std::wstring> {
  static void to_json(json& json, const std::wstring& text) { json = doctor::ToUtf8(text); }
};

namespace doctor {

using nlohmann::json;

namespace {

// Grows when a report says something else under an old name; new names alone do not count.
constexpr int kSchemaVersion = 1;

json FileOf(const std::wstring& path, FileState state, const std::wstring& architecture) {
  return {{"path", path}, {"state", NameOf(state)}, {"architecture", architecture}};
}
json LibraryOf(const Library& library) { return FileOf(library.path, library.state, library.architecture); }

template <class Each, class Convert>
json ListOf(const std::vector<Each>& all, Convert&& convert) {
  json list = json::array();
  for (const Each& each : all) list.push_back(convert(each));
  return list;
}

json RuntimeOf(const Runtime& runtime) {
  return {{"jvm", LibraryOf(runtime.jvm)},
          {"home", runtime.home},
          {"version", runtime.version},
          {"parts", ListOf(runtime.parts,
                           [](const RuntimePart& part) {
                             json each = FileOf(part.path, part.state, part.architecture);
                             each["needed"] = part.needed;
                             return each;
                           })},
          {"foreign", ListOf(runtime.foreign, LibraryOf)}};
}

}  // namespace

std::string AsJson(const Facts& facts) {
  json document = {
      {"schemaVersion", kSchemaVersion},
      {"time", facts.time},
      {"windowsVersion", facts.windows},
      {"doctorVersion", OwnVersion()},
      {"examined", facts.examined},
      {"host",
       {{"name", facts.question.host},
        {"folder", facts.question.hostFolder},
        {"kind", TextOf(facts.host.kind)},
        {"known", facts.host.Known()},
        {"joined", facts.question.joined},
        {"registryRoot", facts.host.registryRoot},
        {"registryRootExists", facts.host.rootExists}}},
      {"serviceFolder", facts.question.serviceFolder},
      {"runtime", facts.runtime ? RuntimeOf(*facts.runtime) : json(nullptr)},
      {"path", facts.path},
      {"notInCodePage", facts.notInCodePage},
      {"log", {{"path", facts.log.path}, {"problem", TextOf(facts.log.state)}}},
  };
  document["products"] = ListOf(facts.products, [](const ProductLibrary& product) {
    json each = LibraryOf(product.library);
    each["product"] = NameOf(product.product);
    each["version"] = product.version;
    each["loadError"] = product.loadError;
    each["missingFunctions"] = product.missingFunctions;
    return each;
  });
  document["settings"] = ListOf(facts.settings, [&](const Setting& setting) {
    return json{{"name", TextOf(setting.name)},
                {"value", setting.value ? json(*setting.value) : json(nullptr)},
                {"origin", OriginOf(setting.name, facts)}};
  });
  document["settingsFile"] = facts.settingsFile ? json{{"path", facts.settingsFile->path},
                                                       {"read", facts.settingsFile->read},
                                                       {"badLines", facts.settingsFile->badLines}}
                                                : json(nullptr);
  document["candidates"] = ListOf(facts.candidates, [](const Candidate& candidate) {
    json each = LibraryOf(candidate.library);
    each["origin"] = std::wstring(qv::TextOf(candidate.source));
    each["verdict"] = VerdictOf(candidate);
    each["chosen"] = candidate.Chosen();
    return each;
  });
  document["classPath"] = ListOf(facts.classPath, [](const ClassPathEntry& entry) {
    return json{{"path", entry.path}, {"state", NameOf(entry.state)}, {"builtIn", entry.builtIn}};
  });
  document["options"] = ListOf(facts.options, [&](const Option& option) {
    return json{{"text", option.text},
                {"origin", OriginOf(option.source, facts)},
                {"note", option.note},
                {"refused", option.fatal}};
  });
  document["findings"] = ListOf(facts.findings, [](const Finding& finding) {
    return json{{"id", NameOf(finding.id)},
                {"severity", NameOf(finding.severity)},
                {"cause", finding.cause},
                {"remedy", finding.remedy}};
  });
  if (facts.start) {
    document["start"] = {
        {"started", facts.start->started},
        {"outcome", facts.start->outcome},
        {"steps", ListOf(facts.start->steps,
                         [](const StartStep& step) {
                           return json{{"name", step.name}, {"beginMs", step.beginMs}, {"endMs", step.endMs}};
                         })},
        {"output", facts.start->output},
        {"logTail", facts.start->logTail}};
  }
  return document.dump(2) + "\n";
}

}  // namespace doctor
