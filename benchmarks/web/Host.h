#pragma once

#include "backends/gtk/base/GObjectPtr.h"
#include "web/PageServer.h"

#include <gtk/gtk.h>
#include <webkit/webkit.h>

#include <functional>
#include <string>

namespace vemora::bench {

/// A host app: GTK, one shown window, and a server whose certificate the SDK trusts.
class Host {
 public:
  explicit Host(const PageServer& server);
  ~Host();
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;

  /// Runs the main loop until the condition holds; looks at it after every turn of the loop. Ends the program
  /// when it does not within half a minute.
  void runUntil(const std::function<bool()>& condition) const;
  void runFor(double seconds) const;

  /// Takes the widget in, at a size of nothing, as the SDK parks its pages.
  void park(GtkWidget* widget) const;
  /// Lays the widget over the whole window.
  void show(GtkWidget* widget) const;
  void remove(GtkWidget* widget) const;

  /// All web views in the window.
  void forEachWebView(const std::function<void(WebKitWebView*)>& work) const;

  const PageServer& server() const { return server_; }
  GTlsCertificate* certificate() const { return certificate_.get(); }

 private:
  const PageServer& server_;
  gtk::GObjectPtr<GTlsCertificate> certificate_;
  gtk::GObjectPtr<GtkWindow> window_;
  GtkWidget* content_ = nullptr;
};

/// The minimum that shows a page and receives its messages: a web view with its own content manager and
/// session, parked in the host's window.
class BarePage {
 public:
  using Heard = std::function<void(JSCValue* body)>;

  BarePage(Host& host, Heard heard);
  ~BarePage();
  BarePage(const BarePage&) = delete;
  BarePage& operator=(const BarePage&) = delete;

  void load();
  /// Loads another page of the host's server.
  void load(const std::string& path);
  bool isLoaded() const { return loaded_; }
  /// The completion is called when it has run; a script that fails ends the program.
  void evaluate(const std::string& script);
  GtkWidget* widget() const { return GTK_WIDGET(view_.get()); }

 private:
  Host& host_;
  Heard heard_;
  gtk::GObjectPtr<WebKitUserContentManager> manager_;
  gtk::GObjectPtr<WebKitWebView> view_;
  bool loaded_ = false;
};

/// The call of the page's bridge that both sides make.
std::string bridgeCall(const std::string& message);

}  // namespace vemora::bench
