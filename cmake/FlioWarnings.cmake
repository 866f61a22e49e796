# Compiler warnings and sanitizers shared by every target of the project.
function(flio_set_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic)
  if(FLIO_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
  if(FLIO_SANITIZE)
    target_compile_options(${target} PRIVATE -fsanitize=${FLIO_SANITIZE} -fno-omit-frame-pointer
                                             -fno-sanitize-recover=all)
    target_link_options(${target} PRIVATE -fsanitize=${FLIO_SANITIZE})
  endif()
endfunction()

# Sanitizers must reach every object of a test or tool executable, the library included.
if(FLIO_SANITIZE)
  add_link_options(-fsanitize=${FLIO_SANITIZE})
endif()
