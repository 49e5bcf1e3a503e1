# Relative to the backend folder.
set(VEMORA_GTK_UI_SOURCES
  UI/TrustedCertificates.cpp
)
