set(prefix ${BUILD_DIR}/package-test/prefix)
set(consumer ${BUILD_DIR}/package-test/embed)
file(REMOVE_RECURSE ${BUILD_DIR}/package-test)
foreach(step
    "${CMAKE_COMMAND};--install;${BUILD_DIR};--prefix;${prefix}"
    "${CMAKE_COMMAND};-S;${SOURCE_DIR}/examples/embed;-B;${consumer};-DCMAKE_PREFIX_PATH=${prefix};-DQT_VERSION_MAJOR=${QT_MAJOR}"
    "${CMAKE_COMMAND};--build;${consumer}")
  execute_process(COMMAND ${step} RESULT_VARIABLE status)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "failed: ${step}")
  endif()
endforeach()
if(NOT EXISTS ${consumer}/embed-example)
  message(FATAL_ERROR "the consumer did not build")
endif()
# A project of the other Qt major is refused at configure time, with a message that says why.
if(QT_MAJOR EQUAL 6)
  set(other 5)
else()
  set(other 6)
endif()
execute_process(
  COMMAND ${CMAKE_COMMAND} -S ${SOURCE_DIR}/examples/embed -B ${BUILD_DIR}/package-test/other
          -DCMAKE_PREFIX_PATH=${prefix} -DQT_VERSION_MAJOR=${other}
  RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE err)
if(status EQUAL 0 OR NOT "${out}${err}" MATCHES "this project uses Qt ${other}, but UIRemoteControl")
  message(FATAL_ERROR "a Qt ${other} project was not refused clearly:\n${out}${err}")
endif()

execute_process(COMMAND ${prefix}/bin/uiremote --help RESULT_VARIABLE status OUTPUT_QUIET)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "the installed uiremote command does not run")
endif()
message(STATUS "embed-example built against the installed package; uiremote installed")

# The installed launcher preloads the installed probe of its build, whose Qt part finds the
# installed library. The Qt 6 files carry the Qt6 suffix.
if(QT_MAJOR EQUAL 6)
  set(suffix Qt6)
  set(tool_suffix -qt6)
else()
  set(suffix "")
  set(tool_suffix "")
endif()
execute_process(COMMAND ${prefix}/bin/uiremote-launch${tool_suffix} -- sh -c "echo \"$LD_PRELOAD\""
  OUTPUT_VARIABLE preload ERROR_QUIET RESULT_VARIABLE status)
file(GLOB probe ${prefix}/lib*/libUIRemoteProbe${suffix}.so ${prefix}/lib/*/libUIRemoteProbe${suffix}.so)
file(REAL_PATH "${probe}" probe)
string(STRIP "${preload}" preload)
if(NOT status EQUAL 0 OR NOT preload STREQUAL probe)
  message(FATAL_ERROR "the installed uiremote-launch${tool_suffix} preloads \"${preload}\" instead of \"${probe}\"")
endif()
get_filename_component(probe_dir ${probe} DIRECTORY)
execute_process(COMMAND ldd ${probe_dir}/libUIRemoteProbe${suffix}Part.so OUTPUT_VARIABLE needed RESULT_VARIABLE status)
if(NOT status EQUAL 0 OR needed MATCHES "not found")
  message(FATAL_ERROR "the installed probe's Qt part misses libraries:\n${needed}")
endif()
message(STATUS "uiremote-launch${tool_suffix} and the probe installed")
