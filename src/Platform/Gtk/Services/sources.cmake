# Relative to the backend folder.
set(VEMORA_GTK_SERVICES_SOURCES
  Services/AudioOutputs.cpp
  Services/DynamicClassRegistry.cpp
  Services/PulseAudioSession.cpp
)
