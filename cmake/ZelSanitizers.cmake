# ZEL_SANITIZE applies to everything built, third-party test frameworks
# included, so instrumented and plain code never mix in one process.
if(ZEL_SANITIZE)
  set(_zel_san_flags -fsanitize=${ZEL_SANITIZE} -fno-omit-frame-pointer -g)
  if(ZEL_SANITIZE MATCHES "undefined")
    list(APPEND _zel_san_flags -fno-sanitize-recover=undefined)
  endif()
  add_compile_options(${_zel_san_flags})
  add_link_options(-fsanitize=${ZEL_SANITIZE})
endif()
