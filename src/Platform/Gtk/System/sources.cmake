# Relative to the backend folder.
set(VEMORA_GTK_SYSTEM_SOURCES
  System/GtkDispatch.cpp
  System/GtkSystem.cpp
  System/MainQueue.cpp
  System/NetworkThread.cpp
  System/SoupURLSession.cpp
  System/TimerThread.cpp
  System/WaitRegistry.cpp
  System/WorkerPool.cpp
)
