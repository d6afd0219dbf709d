# -DMODFORGE_SANITIZE=ON builds everything with AddressSanitizer and UndefinedBehaviorSanitizer.
option(MODFORGE_SANITIZE "Build with AddressSanitizer and UndefinedBehaviorSanitizer" OFF)
if(MODFORGE_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
endif()

# -DMODFORGE_FUZZ=ON makes libFuzzer programs of the targets in fuzz/; clang only.
option(MODFORGE_FUZZ "Build the fuzz targets for libFuzzer" OFF)
if(MODFORGE_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()
