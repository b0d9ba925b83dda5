set(prefix ${BUILD_DIR}/package-test/prefix)
set(consumer ${BUILD_DIR}/package-test/embed)
file(REMOVE_RECURSE ${BUILD_DIR}/package-test)
foreach(step
    "${CMAKE_COMMAND};--install;${BUILD_DIR};--prefix;${prefix}"
    "${CMAKE_COMMAND};-S;${SOURCE_DIR}/examples/embed;-B;${consumer};-DCMAKE_PREFIX_PATH=${prefix}"
    "${CMAKE_COMMAND};--build;${consumer}")
  execute_process(COMMAND ${step} RESULT_VARIABLE status)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "failed: ${step}")
  endif()
endforeach()
if(NOT EXISTS ${consumer}/embed-example)
  message(FATAL_ERROR "the consumer did not build")
endif()
message(STATUS "embed-example built against the installed package")
