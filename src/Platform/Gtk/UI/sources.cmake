# Relative to the backend folder.
set(VEMORA_GTK_UI_SOURCES
  UI/AdAreaWidget.cpp
  UI/AlertWindow.cpp
  UI/BrowserViewController.cpp
  UI/GtkAreaView.cpp
  UI/GtkUserContentController.cpp
  UI/GtkView.cpp
  UI/GtkViewController.cpp
  UI/GtkWebView.cpp
  UI/GtkWindowView.cpp
  UI/HostApplication.cpp
  UI/HostWindows.cpp
  UI/NetworkSessions.cpp
  UI/ScriptValue.cpp
  UI/TrustedCertificates.cpp
  UI/VemoraGtkViews.cpp
)
