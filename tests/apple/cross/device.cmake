# Cross-compiles for a device with iOS 13, without Apple's SDK: declarations of our own, an unpacked libc++ and glibc's C headers.
# It proves types, availability and the build files, not the product.
set(CMAKE_SYSTEM_NAME iOS)
set(CMAKE_OSX_SYSROOT ${CMAKE_CURRENT_LIST_DIR}/iPhoneOS.sdk)
set(CMAKE_OSX_DEPLOYMENT_TARGET 13.0)
set(CMAKE_OSX_ARCHITECTURES arm64)
# Given by tests/apple/run: a folder with libc++'s headers (v1), its changed __config_site (config) and RapidJSON (rapidjson).
set(VEMORA_APPLE_HEADERS $ENV{VEMORA_APPLE_HEADERS})
set(tests ${CMAKE_CURRENT_LIST_DIR}/..)
set(CMAKE_C_COMPILER /usr/bin/clang-19)
set(CMAKE_C_COMPILER_TARGET arm64-apple-ios13.0)
foreach(language CXX OBJCXX)
  set(CMAKE_${language}_COMPILER /usr/bin/clang++-19)
  set(CMAKE_${language}_COMPILER_TARGET arm64-apple-ios13.0)
  string(CONCAT CMAKE_${language}_FLAGS_INIT
    "-U__nonnull -U__nullable -U__null_unspecified -D_GNU_SOURCE -D__NO_CTYPE -nostdinc++ -Wunguarded-availability "
    "-isystem ${VEMORA_APPLE_HEADERS}/config -isystem ${CMAKE_CURRENT_LIST_DIR}/darwin -isystem ${VEMORA_APPLE_HEADERS}/v1 "
    "-isystem /usr/aarch64-linux-gnu/include")
endforeach()
string(APPEND CMAKE_OBJCXX_FLAGS_INIT
  " -isystem ${tests}/runtime -isystem ${tests}/declarations -isystem /usr/include/GNUstep"
  " -idirafter /usr/lib/gcc/x86_64-linux-gnu/12/include")
set(CMAKE_SHARED_LINKER_FLAGS_INIT
  "-fuse-ld=/usr/lib/llvm-19/bin/ld64.lld -Wl,-undefined,dynamic_lookup -Wl,-platform_version,ios,13.0,17.0")
foreach(tool ar ranlib otool install-name-tool)
  string(TOUPPER ${tool} name)
  string(REPLACE - _ name ${name})
  set(CMAKE_${name} /usr/lib/llvm-19/bin/llvm-${tool} CACHE FILEPATH "")
endforeach()
set(CMAKE_LIBTOOL /usr/lib/llvm-19/bin/llvm-libtool-darwin CACHE FILEPATH "")
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)
