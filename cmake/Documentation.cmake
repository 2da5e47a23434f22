# The reference of the public headers: target `docs`, where Doxygen is there.
find_program(CAMERA_DEPTH_RW_DOXYGEN doxygen)
mark_as_advanced(CAMERA_DEPTH_RW_DOXYGEN)

# All of them, whatever this build has: the reference is the same everywhere.
set(reference_headers ${public_headers} camera/asus_reader.h)
list(REMOVE_DUPLICATES reference_headers)
list(TRANSFORM reference_headers PREPEND ${PROJECT_SOURCE_DIR}/ OUTPUT_VARIABLE reference_inputs)
list(PREPEND reference_inputs ${PROJECT_SOURCE_DIR}/docs/reference.md)
list(JOIN reference_inputs "\" \"" reference_inputs)
set(reference_directory ${PROJECT_BINARY_DIR}/docs)
configure_file(${PROJECT_SOURCE_DIR}/docs/Doxyfile.in ${PROJECT_BINARY_DIR}/Doxyfile @ONLY)

if(CAMERA_DEPTH_RW_DOXYGEN)
  add_custom_target(
    docs
    COMMAND ${CMAKE_COMMAND} -E make_directory ${reference_directory}
    COMMAND ${CAMERA_DEPTH_RW_DOXYGEN} ${PROJECT_BINARY_DIR}/Doxyfile
    COMMENT "Reference of the public headers: ${reference_directory}/html/index.html"
    VERBATIM)
else()
  message(STATUS "reference of the headers: left out: no Doxygen (package doxygen)")
endif()
