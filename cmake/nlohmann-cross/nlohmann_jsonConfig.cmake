# nlohmann-json for the cross build: the library is header-only, so the
# Debian headers serve, copied into the build tree so that no other native
# header joins the MinGW include path.
if(NOT CMAKE_CROSSCOMPILING)
  set(nlohmann_json_FOUND FALSE)
  return()
endif()
set(VIREL_NLOHMANN_SOURCE_DIR /usr/include/nlohmann CACHE PATH
    "nlohmann-json headers used by the cross build")
if(NOT EXISTS ${VIREL_NLOHMANN_SOURCE_DIR}/json.hpp)
  set(nlohmann_json_FOUND FALSE)
  set(nlohmann_json_NOT_FOUND_MESSAGE
      "no nlohmann-json headers in ${VIREL_NLOHMANN_SOURCE_DIR} (install nlohmann-json3-dev)")
  return()
endif()
if(NOT TARGET nlohmann_json::nlohmann_json)
  set(include_dir ${CMAKE_BINARY_DIR}/nlohmann-cross/include)
  file(COPY ${VIREL_NLOHMANN_SOURCE_DIR} DESTINATION ${include_dir})
  add_library(nlohmann_json::nlohmann_json INTERFACE IMPORTED)
  set_target_properties(nlohmann_json::nlohmann_json PROPERTIES
    INTERFACE_INCLUDE_DIRECTORIES ${include_dir})
endif()
set(nlohmann_json_FOUND TRUE)
