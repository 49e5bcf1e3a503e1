#include "DemoWindow.h"

#include <Vemora/Gtk/VemoraGtk.h>

#include <algorithm>
#include <array>
#include <utility>

namespace vemora {
namespace {

constexpr int kAdWidth = 656;
constexpr int kAdHeight = 369;
constexpr const char* kResources = "/org/vemora/Demo/";

struct NamedCommand {
  const char* action;
  Command command;
};
constexpr std::array<NamedCommand, 4> kPlainActions{{{"skip", Command::Skip},
                                                     {"close", Command::Close},
                                                     {"smaller", Command::Smaller},
                                                     {"larger", Command::Larger}}};

constexpr std::array<std::pair<const char*, const char*>, 5> kShortcuts{{{"space", "ad.pause-or-resume"},
                                                                         {"s", "ad.skip"},
                                                                         {"c|Escape", "ad.close"},
                                                                         {"minus|KP_Subtract", "ad.smaller"},
                                                                         {"plus|equal|KP_Add", "ad.larger"}}};

void useStyle(GdkDisplay* display) {
  const auto provider = GObjectPtr<GtkCssProvider>::adopt(gtk_css_provider_new());
  gtk_css_provider_load_from_resource(provider.get(), (std::string(kResources) + "style.css").c_str());
  gtk_style_context_add_provider_for_display(display, GTK_STYLE_PROVIDER(provider.get()),
                                             GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
}

}  // namespace

DemoWindow::DemoWindow(GtkApplication* application, Placement placement, Handlers handlers)
    : placement_(placement),
      handlers_(std::move(handlers)),
      builder_(GObjectPtr<GtkBuilder>::adopt(
          gtk_builder_new_from_resource((std::string(kResources) + "window.ui").c_str()))),
      window_(GObjectPtr<GtkWindow>::retain(GTK_WINDOW(widget("window")))) {
  useStyle(gtk_widget_get_display(GTK_WIDGET(window_.get())));
  gtk_window_set_application(window_.get(), application);
  g_signal_connect(window_.get(), "close-request", G_CALLBACK(+[](GtkWindow*, gpointer self) -> gboolean {
                     static_cast<DemoWindow*>(self)->handlers_.closed();
                     return TRUE;
                   }),
                   this);
  addAdPlace();
  addActions();
  addShortcuts();
}

DemoWindow::~DemoWindow() {
  g_signal_handlers_disconnect_by_data(window_.get(), this);
  gtk_widget_insert_action_group(GTK_WIDGET(window_.get()), "ad", nullptr);
  gtk_window_destroy(window_.get());
}

GtkWidget* DemoWindow::widget(const char* id) const {
  return GTK_WIDGET(gtk_builder_get_object(builder_.get(), id));
}

void DemoWindow::addAdPlace() {
  const bool isResizable = placement_ == Placement::Resizable;
  if (isResizable) gtk_widget_add_css_class(widget("ad_place"), "resizable");
  gtk_widget_set_visible(widget("smaller"), isResizable);
  gtk_widget_set_visible(widget("larger"), isResizable);
  if (placement_ == Placement::Interstitial) {
    gtk_widget_set_visible(widget("ad_place"), FALSE);
    return;
  }
  adWidget_ = gtk::newAdView();
  gtk_widget_set_size_request(adWidget_, kAdWidth, kAdHeight);
  gtk_overlay_set_child(GTK_OVERLAY(widget("ad_slot")), adWidget_);
}

void DemoWindow::addAction(const char* name, std::function<Command()> command) {
  struct Activation {
    DemoWindow* window;
    std::function<Command()> command;
  };
  const auto action = GObjectPtr<GSimpleAction>::adopt(g_simple_action_new(name, nullptr));
  g_signal_connect_data(
      action.get(), "activate", G_CALLBACK(+[](GSimpleAction*, GVariant*, gpointer data) {
        const auto* const activation = static_cast<Activation*>(data);
        activation->window->handlers_.command(activation->command());
      }),
      new Activation{this, std::move(command)},
      [](gpointer data, GClosure*) { delete static_cast<Activation*>(data); }, GConnectFlags());
  g_action_map_add_action(G_ACTION_MAP(actions_.get()), G_ACTION(action.get()));
}

void DemoWindow::addActions() {
  addAction("pause-or-resume", [this] { return paused_ ? Command::Resume : Command::Pause; });
  for (const NamedCommand& plain : kPlainActions) {
    addAction(plain.action, [command = plain.command] { return command; });
  }
  setControlsEnabled(false);
  gtk_widget_insert_action_group(GTK_WIDGET(window_.get()), "ad", G_ACTION_GROUP(actions_.get()));
}

void DemoWindow::addShortcuts() {
  // After the focused widget: a button uses the space bar itself, and so does the page.
  GtkEventController* const controller = gtk_shortcut_controller_new();
  gtk_event_controller_set_propagation_phase(controller, GTK_PHASE_BUBBLE);
  for (const auto& [trigger, action] : kShortcuts) {
    gtk_shortcut_controller_add_shortcut(
        GTK_SHORTCUT_CONTROLLER(controller),
        gtk_shortcut_new(gtk_shortcut_trigger_parse_string(trigger), gtk_named_action_new(action)));
  }
  gtk_widget_add_controller(GTK_WIDGET(window_.get()), controller);
}

void DemoWindow::present() {
  gtk_window_present(window_.get());
}

void DemoWindow::hide() {
  gtk_widget_set_visible(GTK_WIDGET(window_.get()), FALSE);
}

std::shared_ptr<View> DemoWindow::adView() const {
  return adWidget_ ? gtk::viewForWidget(adWidget_) : nullptr;
}

GtkWindow* DemoWindow::windowOfAd() const {
  if (placement_ != Placement::Interstitial) return window_.get();
  GListModel* const windows = gtk_window_get_toplevels();
  for (guint i = 0; i < g_list_model_get_n_items(windows); ++i) {
    const auto candidate =
        GObjectPtr<GtkWindow>::adopt(static_cast<GtkWindow*>(g_list_model_get_item(windows, i)));
    if (gtk_window_get_transient_for(candidate.get()) == window_.get()) return candidate.get();
  }
  return window_.get();
}

graphene_rect_t DemoWindow::boundsOfAd() const {
  GtkWidget* const window = GTK_WIDGET(windowOfAd());
  graphene_rect_t bounds{};
  const bool isKnown = gtk_widget_compute_bounds(adWidget_ ? adWidget_ : window, window, &bounds);
  return isKnown ? bounds : graphene_rect_t{};
}

void DemoWindow::showStatus(const std::string& text) {
  gtk_label_set_text(GTK_LABEL(widget("status")), text.c_str());
}

void DemoWindow::showProgress(double share) {
  gtk_progress_bar_set_fraction(GTK_PROGRESS_BAR(widget("progress")), std::clamp(share, 0.0, 1.0));
}

void DemoWindow::setPaused(bool paused) {
  paused_ = paused;
  gtk_button_set_label(GTK_BUTTON(widget("pause")), paused ? "Resume" : "Pause");
  gtk_widget_set_tooltip_text(widget("pause"), paused ? "Resume the ad (space)" : "Pause the ad (space)");
}

void DemoWindow::setControlsEnabled(bool enabled) {
  GActionMap* const map = G_ACTION_MAP(actions_.get());
  for (const char* name : {"pause-or-resume", "skip", "close", "smaller", "larger"}) {
    const bool concernsPlacement =
        placement_ == Placement::Resizable || !(g_str_equal(name, "smaller") || g_str_equal(name, "larger"));
    g_simple_action_set_enabled(G_SIMPLE_ACTION(g_action_map_lookup_action(map, name)),
                                enabled && concernsPlacement);
  }
}

}  // namespace vemora
