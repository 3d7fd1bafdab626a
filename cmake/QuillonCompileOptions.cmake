# Warnings are errors for everything we compile; system headers (Qt, gtest) are
# included as SYSTEM by their imported targets and stay out of this.
add_library(quillon_warnings INTERFACE)
target_compile_options(quillon_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor -Werror)

if(QUILLON_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
endif()
