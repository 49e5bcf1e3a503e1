#include "FakeNetworkMonitor.h"

namespace vemora::gtk::test {

namespace {

struct FakeMonitor {
  GObject parent;
  GNetworkConnectivity connectivity;
};
struct FakeMonitorClass {
  GObjectClass parent;
};

enum Property { kAvailable = 1, kMetered, kConnectivity };

void getProperty(GObject* object, guint id, GValue* value, GParamSpec*) {
  switch (id) {
    case kAvailable:
      return g_value_set_boolean(value, TRUE);
    case kMetered:
      return g_value_set_boolean(value, FALSE);
    default:
      return g_value_set_enum(value, reinterpret_cast<FakeMonitor*>(object)->connectivity);
  }
}

void initClass(gpointer klass, gpointer) {
  auto* objects = static_cast<GObjectClass*>(klass);
  objects->get_property = getProperty;
  g_object_class_override_property(objects, kAvailable, "network-available");
  g_object_class_override_property(objects, kMetered, "network-metered");
  g_object_class_override_property(objects, kConnectivity, "connectivity");
}

GType fakeMonitorType() {
  static const GType type = [] {
    const GType made =
        g_type_register_static_simple(G_TYPE_OBJECT, "VemoraFakeNetworkMonitor", sizeof(FakeMonitorClass),
                                      initClass, sizeof(FakeMonitor), nullptr, G_TYPE_FLAG_NONE);
    static const GInterfaceInfo initable = {
        [](gpointer interface, gpointer) {
          static_cast<GInitableIface*>(interface)->init = [](GInitable*, GCancellable*,
                                                             GError**) -> gboolean { return TRUE; };
        },
        nullptr, nullptr};
    static const GInterfaceInfo monitor = {nullptr, nullptr, nullptr};
    g_type_add_interface_static(made, G_TYPE_INITABLE, &initable);
    g_type_add_interface_static(made, G_TYPE_NETWORK_MONITOR, &monitor);
    return made;
  }();
  return type;
}

}  // namespace

GObjectPtr<GNetworkMonitor> makeFakeNetworkMonitor() {
  auto* made = static_cast<FakeMonitor*>(g_object_new(fakeMonitorType(), nullptr));
  made->connectivity = G_NETWORK_CONNECTIVITY_FULL;
  return GObjectPtr<GNetworkMonitor>::adopt(reinterpret_cast<GNetworkMonitor*>(made));
}

void changeNetwork(GNetworkMonitor* monitor, GNetworkConnectivity connectivity) {
  reinterpret_cast<FakeMonitor*>(monitor)->connectivity = connectivity;
  g_signal_emit_by_name(monitor, "network-changed", TRUE);
}

}  // namespace vemora::gtk::test
