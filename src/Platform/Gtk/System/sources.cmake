# Relative to the backend folder.
set(VEMORA_GTK_SYSTEM_SOURCES
)
