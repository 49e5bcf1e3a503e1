#include "web/BareBridge.h"

#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <memory>

namespace vemora::bench {

namespace {

using Work = std::function<void()>;

void push(GThreadPool* pool, Work work) {
  g_thread_pool_push(pool, new Work(std::move(work)), nullptr);
}

GThreadPool* newPool() {
  return g_thread_pool_new(
      [](gpointer data, gpointer) {
        const std::unique_ptr<Work> work(static_cast<Work*>(data));
        (*work)();
      },
      nullptr, -1, FALSE, nullptr);
}

void invokeOnMain(Work work) {
  g_main_context_invoke_full(
      nullptr, G_PRIORITY_DEFAULT,
      [](gpointer data) -> gboolean {
        (*static_cast<Work*>(data))();
        return G_SOURCE_REMOVE;
      },
      new Work(std::move(work)), [](gpointer data) { delete static_cast<Work*>(data); });
}

constexpr unsigned kReadFlags = rapidjson::kParseFullPrecisionFlag | rapidjson::kParseValidateEncodingFlag;

}  // namespace

struct BareBridge::Waiter {
  GCond condition;
  bool done = false;
  rapidjson::Document reply;
};

BareBridge::BareBridge(Host& host, std::function<void(double)> onEvent)
    : page_(host, [this](JSCValue* body) { receive(body); }),
      onEvent_(std::move(onEvent)),
      queue_(newPool()),
      deliveries_(newPool()),
      waiters_(g_hash_table_new_full(g_str_hash, g_str_equal, g_free, nullptr)) {
  g_mutex_init(&mutex_);
}

BareBridge::~BareBridge() {
  g_thread_pool_free(queue_, FALSE, TRUE);
  g_thread_pool_free(deliveries_, FALSE, TRUE);
  g_hash_table_unref(waiters_);
  g_mutex_clear(&mutex_);
}

std::string BareBridge::request(std::uint64_t id, const std::string& method) const {
  rapidjson::StringBuffer buffer;
  rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
  writer.StartObject();
  writer.Key("jsonrpc");
  writer.String("2.0");
  writer.Key("id");
  writer.String(std::to_string(id).c_str());
  writer.Key("method");
  writer.String(method.c_str());
  writer.EndObject();
  return bridgeCall(buffer.GetString());
}

bool BareBridge::call(const std::string& method) {
  Waiter waiter;
  g_cond_init(&waiter.condition);
  g_mutex_lock(&mutex_);
  const std::uint64_t id = nextId_++;
  g_hash_table_insert(waiters_, g_strdup(std::to_string(id).c_str()), &waiter);
  g_mutex_unlock(&mutex_);
  push(queue_, [this, id, method] {
    invokeOnMain([this, script = request(id, method)] { page_.evaluate(script); });
  });
  const gint64 end = g_get_monotonic_time() + 5 * G_USEC_PER_SEC;
  g_mutex_lock(&mutex_);
  while (!waiter.done && g_cond_wait_until(&waiter.condition, &mutex_, end)) {
  }
  g_hash_table_remove(waiters_, std::to_string(id).c_str());
  g_mutex_unlock(&mutex_);
  g_cond_clear(&waiter.condition);
  return waiter.done && waiter.reply.HasMember("result");
}

void BareBridge::post(const std::string& method) {
  page_.evaluate(request(0, method));
}

void BareBridge::receive(JSCValue* body) {
  char* json = jsc_value_to_json(body, 0);
  push(deliveries_, [this, json] { deliver(json); });
}

void BareBridge::deliver(char* json) {
  rapidjson::Document message;
  message.Parse<kReadFlags>(json);
  g_free(json);
  if (message.HasParseError() || !message.IsObject()) return;
  if (message.HasMember("id")) {
    g_mutex_lock(&mutex_);
    if (auto* waiter = static_cast<Waiter*>(g_hash_table_lookup(waiters_, message["id"].GetString()))) {
      waiter->reply = std::move(message);
      waiter->done = true;
      g_cond_signal(&waiter->condition);
    }
    g_mutex_unlock(&mutex_);
  } else if (onEvent_ && message["params"].HasMember("data")) {
    invokeOnMain([this, data = message["params"]["data"].GetDouble()] { onEvent_(data); });
  }
}

}  // namespace vemora::bench
