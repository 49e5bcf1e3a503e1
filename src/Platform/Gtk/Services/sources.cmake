# Relative to the backend folder.
set(VEMORA_GTK_SERVICES_SOURCES
  Services/DynamicClassRegistry.cpp
)
