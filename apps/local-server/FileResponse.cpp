#include "FileResponse.h"

#include "../common/InputFiles.h"
#include "../common/Options.h"
#include "FileLookup.h"

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <string_view>
#include <system_error>
#include <utility>

namespace vemora {
namespace {

namespace fs = std::filesystem;

constexpr std::int64_t kPiece = 131'072;

/// Bytes `first` up to and not including `end`.
struct ByteRange {
  std::int64_t first = 0;
  std::int64_t end = 0;
};

/// Feeds a response from a file: the next piece is read when the one before it has been written.
class FileBody {
 public:
  FileBody(std::ifstream file, ByteRange range) : file_(std::move(file)), left_(range.end - range.first) {
    file_.seekg(range.first);
  }

  /// Hands the body to the message, which owns it from then on.
  static void attach(SoupServerMessage* message, std::unique_ptr<FileBody> body) {
    soup_message_body_set_accumulate(soup_server_message_get_response_body(message), FALSE);
    body->appendPiece(message);
    g_signal_connect_data(
        message, "wrote-chunk", G_CALLBACK(+[](SoupServerMessage* m, gpointer self) {
          static_cast<FileBody*>(self)->appendPiece(m);
        }),
        body.release(), [](gpointer self, GClosure*) { delete static_cast<FileBody*>(self); },
        GConnectFlags{});
  }

 private:
  void appendPiece(SoupServerMessage* message) {
    SoupMessageBody* body = soup_server_message_get_response_body(message);
    if (left_ == 0) {
      soup_message_body_complete(body);
      return;
    }
    std::string piece(static_cast<std::size_t>(std::min(left_, kPiece)), '\0');
    if (!file_.read(piece.data(), static_cast<std::streamsize>(piece.size()))) {
      // The file shrank after its length was promised: only a broken connection reports that.
      g_socket_shutdown(soup_server_message_get_socket(message), TRUE, TRUE, nullptr);
    }
    soup_message_body_append(body, SOUP_MEMORY_COPY, piece.data(), piece.size());
    left_ -= static_cast<std::int64_t>(piece.size());
  }

  std::ifstream file_;
  std::int64_t left_;
};

/// The result of parsing "Range": unusable, outside the file, or one range.
struct RangeRequest {
  bool unsatisfiable = false;
  std::optional<ByteRange> range;
};

RangeRequest readRange(SoupServerMessage* message, std::int64_t length) {
  SoupMessageHeaders* headers = soup_server_message_get_request_headers(message);
  // Nothing that is served carries a validator, so that a condition on one never holds.
  if (soup_message_headers_get_one(headers, "If-Range")) return {};
  SoupRange* ranges = nullptr;
  int count = 0;
  if (!soup_message_headers_get_ranges(headers, length, &ranges, &count)) return {};
  const SoupRange asked = ranges[0];
  soup_message_headers_free_ranges(headers, ranges);
  if (count != 1) return {};

  // The range may begin or end outside the file.
  const ByteRange range{std::max<std::int64_t>(asked.start, 0),
                        std::min<std::int64_t>(asked.end, length - 1) + 1};
  if (range.first >= range.end) return {true, std::nullopt};
  return {false, range};
}

std::optional<std::ifstream> open(SoupServerMessage* message, const fs::path& file) {
  std::error_code error;
  if (!fs::exists(file, error)) {
    respondWithStatus(message, SOUP_STATUS_NOT_FOUND);
    return std::nullopt;
  }
  if (!whyUnreadableFile(file)) {
    std::ifstream stream(file, std::ios::binary);
    if (stream) return stream;
  }
  respondWithStatus(message, SOUP_STATUS_FORBIDDEN);
  return std::nullopt;
}

bool isGet(SoupServerMessage* message) {
  return std::string_view(soup_server_message_get_method(message)) == SOUP_METHOD_GET;
}

}  // namespace

void respondWithFile(SoupServerMessage* message, const fs::path& file) {
  std::optional<std::ifstream> stream = open(message, file);
  if (!stream) return;
  const std::int64_t length = stream->seekg(0, std::ios::end).tellg();
  SoupMessageHeaders* headers = soup_server_message_get_response_headers(message);
  soup_message_headers_replace(headers, "Accept-Ranges", "bytes");

  const RangeRequest asked = isGet(message) ? readRange(message, length) : RangeRequest{};
  if (asked.unsatisfiable) {
    respondWithStatus(message, SOUP_STATUS_REQUESTED_RANGE_NOT_SATISFIABLE);
    const std::string all = "bytes */" + std::to_string(length);
    soup_message_headers_replace(headers, "Content-Range", all.c_str());
    return;
  }
  const ByteRange range = asked.range.value_or(ByteRange{0, length});
  soup_server_message_set_status(message, asked.range ? SOUP_STATUS_PARTIAL_CONTENT : SOUP_STATUS_OK,
                                 nullptr);
  if (asked.range) soup_message_headers_set_content_range(headers, range.first, range.end - 1, length);
  soup_message_headers_set_content_type(headers, mediaTypeOf(file), nullptr);
  soup_message_headers_set_content_length(headers, range.end - range.first);
  if (isGet(message)) FileBody::attach(message, std::make_unique<FileBody>(std::move(*stream), range));
}

void respondWithTemplate(SoupServerMessage* message, const fs::path& file, const char* mediaType,
                         const Replacements& replacements) {
  std::optional<std::ifstream> stream = open(message, file);
  if (!stream) return;
  std::string text((std::istreambuf_iterator<char>(*stream)), std::istreambuf_iterator<char>());
  for (const auto& [mark, value] : replacements) replaceAll(text, mark, value);
  respondWithText(message, SOUP_STATUS_OK, mediaType, text);
}

void respondWithText(SoupServerMessage* message, unsigned status, const char* mediaType,
                     const std::string& body) {
  soup_server_message_set_status(message, status, nullptr);
  soup_server_message_set_response(message, mediaType, SOUP_MEMORY_COPY, body.data(), body.size());
}

void respondWithStatus(SoupServerMessage* message, unsigned status) {
  const std::string text = std::to_string(status) + " " + soup_status_get_phrase(status) + "\n";
  respondWithText(message, status, "text/plain; charset=utf-8", text);
}

}  // namespace vemora
