# Builds the Apple backend on Linux: clang's Objective-C++ with automatic reference counting upon GCC's Objective-C run time and
# GNUstep's Foundation, the declarations of this folder for everything else.
set(CMAKE_C_COMPILER /usr/bin/clang-14)
set(CMAKE_CXX_COMPILER /usr/bin/clang++-14)
set(CMAKE_OBJCXX_COMPILER /usr/bin/clang++-14)
set(sanitizers "-fsanitize=address -fno-omit-frame-pointer")
set(CMAKE_C_FLAGS_INIT ${sanitizers})
set(CMAKE_CXX_FLAGS_INIT ${sanitizers})
string(CONCAT CMAKE_OBJCXX_FLAGS_INIT
  "${sanitizers} -fblocks -fexceptions -fobjc-exceptions -fconstant-string-class=NSConstantString "
  "-fobjc-runtime=gnustep-1.9 -fobjc-legacy-dispatch -Wno-unused-command-line-argument -Wno-unguarded-availability -Wno-unguarded-availability-new "
  "-isystem ${CMAKE_CURRENT_LIST_DIR}/runtime -isystem ${CMAKE_CURRENT_LIST_DIR}/declarations "
  "-isystem /usr/include/GNUstep -idirafter /usr/lib/gcc/x86_64-linux-gnu/12/include")
