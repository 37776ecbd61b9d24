# Flags of every target, in one place. `house_flags` is linked by each of ours and by nothing else.
add_library(house_flags INTERFACE)
target_compile_options(house_flags INTERFACE
  -Wall -Wextra -Wconversion -Wno-sign-conversion
  # The same bits in every build: no fused multiply-add, no reordering of sums.
  -ffp-contract=off)
if(ORLINTHS_WERROR)
  target_compile_options(house_flags INTERFACE -Werror)
endif()
if(ORLINTHS_SANITIZE)
  # g++ leaves float-cast-overflow out of `undefined`.
  set(sanitizers -fsanitize=address,undefined,float-cast-overflow -fno-sanitize-recover=all)
  target_compile_options(house_flags INTERFACE ${sanitizers} -fno-omit-frame-pointer)
  target_link_options(house_flags INTERFACE ${sanitizers})
endif()
if(ORLINTHS_FUZZER)
  # Every line that a target reaches tells the search where it has been.
  set(fuzzer -fsanitize=fuzzer-no-link,address,undefined,float-cast-overflow -fno-sanitize-recover=all)
  target_compile_options(house_flags INTERFACE ${fuzzer} -fno-omit-frame-pointer)
  target_link_options(house_flags INTERFACE ${fuzzer})
endif()
