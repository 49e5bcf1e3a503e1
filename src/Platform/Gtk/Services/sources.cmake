# Relative to the backend folder.
set(VEMORA_GTK_SERVICES_SOURCES
  Services/AudioOutputs.cpp
  Services/ContextThread.cpp
  Services/DynamicClassRegistry.cpp
  Services/GeoClueLocationServices.cpp
  Services/GioNetworkReachability.cpp
  Services/LocationPermission.cpp
  Services/NetworkFacts.cpp
  Services/PrivateBus.cpp
  Services/PulseAudioSession.cpp
)
