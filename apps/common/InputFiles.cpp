#include "InputFiles.h"

#include "GLibHandles.h"
#include "Options.h"

#include <gio/gio.h>
#include <libxml/parser.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <iterator>
#include <memory>
#include <string_view>
#include <utility>

namespace vemora {
namespace {

namespace fs = std::filesystem;

// What controller/src/config.ts reads, and of it what the SDK reads.
constexpr std::array<std::string_view, 11> kConfigurationNames{
    "wrapperLimit", "fetchLimit", "wrapperTimeout", "adsTimeout", "stallTimeout",     "startTimeout",
    "endCardTime",  "maxBitrate", "faults",         "features",   "moat_partner_code"};
constexpr std::array<std::string_view, 3> kFaultNames{"stopPingAfter", "adError", "noAds"};
constexpr std::array<std::string_view, 1> kFeatureNames{"moat"};

[[noreturn]] void fail(const std::string& option, const fs::path& file, const std::string& why) {
  throw BadArguments("--" + option + ": '" + file.string() + "': " + why);
}

template <typename Names>
void checkNames(const std::string& option, const fs::path& file, const JsonValue& object,
                const std::string& prefix, const Names& known) {
  for (const JsonValue::Entry& entry : object.entries()) {
    const std::string name(entry.key.asString().value_or(""));
    if (std::find(known.begin(), known.end(), name) != known.end()) continue;
    std::string list;
    for (const std::string_view one : known) list.append(list.empty() ? "" : ", ").append(prefix).append(one);
    fail(option, file,
         std::string("nothing reads '").append(prefix).append(name).append("'; known are ").append(list));
  }
}

std::string firstLine(const char* text) {
  const std::string all = text ? text : "";
  return all.substr(0, all.find('\n'));
}

/// The parser reports no line or column, so the message names the usual mistakes.
constexpr const char* kNoJson = "is not valid JSON (an extra or missing comma, or a name without quotes?)";

}  // namespace

std::string contentOf(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

void replaceAll(std::string& text, std::string_view mark, const std::string& value) {
  for (auto at = text.find(mark); at != std::string::npos; at = text.find(mark, at + value.size())) {
    text.replace(at, mark.size(), value);
  }
}

JsonValue readJsonObject(const std::string& option, const fs::path& file) {
  const auto value = JsonValue::parse(contentOf(readableFile(option, file)));
  if (!value) fail(option, file, kNoJson);
  if (!value->isObject()) fail(option, file, "is not a JSON object");
  return *value;
}

void checkConfiguration(const std::string& option, const fs::path& file) {
  const JsonValue object = readJsonObject(option, file);
  checkNames(option, file, object, "", kConfigurationNames);
  checkNames(option, file, object["faults"], "faults.", kFaultNames);
  checkNames(option, file, object["features"], "features.", kFeatureNames);
}

void checkAdList(const std::string& option, const fs::path& file) {
  const JsonValue list = readJsonObject(option, file)["ads"];
  if (!list.isArray()) fail(option, file, "has no array \"ads\"");
  std::size_t index = 0;
  for (const JsonValue& ad : list.elements()) {
    const std::string which = "ads[" + std::to_string(index++) + "]";
    if (!ad.isObject()) fail(option, file, which + " is not an object");
    if (!ad["media"].isArray() && !ad["url"].isString())
      fail(option, file, which + " has no \"media\" and no \"url\"");
  }
}

void checkAdDocument(const std::string& option, const fs::path& file) {
  const std::string text = contentOf(readableFile(option, file));
  using Context = std::unique_ptr<xmlParserCtxt, gtk::GFree<xmlFreeParserCtxt>>;
  using Document = std::unique_ptr<xmlDoc, gtk::GFree<xmlFreeDoc>>;
  const Context context(xmlNewParserCtxt());
  const Document document(xmlCtxtReadMemory(context.get(), text.data(), static_cast<int>(text.size()),
                                            nullptr, nullptr,
                                            XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING));
  if (!document) {
    const xmlError* const error = xmlCtxtGetLastError(context.get());
    fail(option, file,
         "is not well-formed XML: " +
             (error ? "line " + std::to_string(error->line) + ": " + firstLine(error->message)
                    : std::string("it is empty")));
  }
  const xmlNode* const root = xmlDocGetRootElement(document.get());
  const std::string name = root ? reinterpret_cast<const char*>(root->name) : "";
  if (name != "VAST" && name != "VMAP")
    fail(option, file, "is not a VAST document: its root is <" + name + ">");
}

void checkCertificates(const std::string& option, const fs::path& file) {
  GErrorHolder error;
  GList* const list = g_tls_certificate_list_new_from_file(readableFile(option, file).c_str(), error.out());
  const bool isEmpty = !list;
  g_list_free_full(list, g_object_unref);
  if (error) fail(option, file, "is not a certificate: " + error.message());
  if (isEmpty) fail(option, file, "contains no certificate in PEM format");
}

}  // namespace vemora
