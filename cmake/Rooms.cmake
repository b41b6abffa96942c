# Rooms: one folder of src/ is one room is one target, with its own include folder and private links.
#
#   sms_room(NAME LINK ...)        an object library of all sources of the calling folder
#   sms_plugin(NAME LINK ...)      a plug-in library that exports CreatePlugin and ReleasePlugin and nothing else
#   sms_test(NAME [THREADS] LINK ...)  a test program of all sources of the calling folder; THREADS: worth running under
#                                      the thread sanitizer

# Flags of our own targets; headers of libraries are SYSTEM and not held to them.
add_library(sms_flags INTERFACE)
target_compile_options(sms_flags INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion)
option(SMS_WERROR "treat warnings of our own targets as errors" ON)
if(SMS_WERROR)
  target_compile_options(sms_flags INTERFACE -Werror)
endif()
if(SMS_SANITIZER STREQUAL "asan")
  # vptr: plug-ins hide their type information, so types of one name differ between libraries. null: reports every
  # catch (abi::__forced_unwind&), which binds to no object; a null that is used ends the program all the same.
  add_compile_options(-fsanitize=address,undefined -fno-sanitize=vptr,null -fno-sanitize-recover=undefined
                      -fno-omit-frame-pointer -O1 -g1)
  add_link_options(-fsanitize=address,undefined)
elseif(SMS_SANITIZER STREQUAL "tsan")
  # no-tsan: the compiler warns of fences in Boost.Asio, which the sanitizer does not follow
  add_compile_options(-fsanitize=thread -fno-omit-frame-pointer -O1 -g1 $<$<CXX_COMPILER_ID:GNU>:-Wno-tsan>)
  add_link_options(-fsanitize=thread)
elseif(SMS_SANITIZER STREQUAL "fuzz")
  add_compile_options(-fsanitize=fuzzer-no-link,address,undefined -fno-sanitize=vptr,null
                      -fno-sanitize-recover=undefined -fno-omit-frame-pointer -O1 -g1)
  add_link_options(-fsanitize=address,undefined)
endif()
if(SMS_SANITIZER)
  target_compile_definitions(sms_flags INTERFACE SMS_CHECK_LOCK_ORDER)
endif()

function(sms_room name)
  cmake_parse_arguments(ROOM "" "" "LINK" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
  list(FILTER sources EXCLUDE REGEX "/main\\.cpp$")
  add_library(${name} OBJECT ${sources})
  target_include_directories(${name} PUBLIC ${CMAKE_CURRENT_SOURCE_DIR})
  target_link_libraries(${name} PUBLIC sms_interfaces ${ROOM_LINK} PRIVATE sms_flags)
endfunction()

function(sms_plugin name)
  cmake_parse_arguments(PLUGIN "" "" "LINK" ${ARGN})
  add_library(${name} MODULE)
  set_target_properties(${name} PROPERTIES PREFIX "")
  target_link_libraries(${name} PRIVATE ${PLUGIN_LINK} sms_flags)
  set(exports ${PROJECT_SOURCE_DIR}/cmake/plugin.exports)
  target_link_options(${name} PRIVATE -Wl,--version-script=${exports} -Wl,--no-undefined)
  if(SMS_SANITIZER)
    target_link_options(${name} PRIVATE -Wl,-z,undefs)  # the sanitizer's own symbols come from the program
  endif()
  set_target_properties(${name} PROPERTIES LINK_DEPENDS ${exports})
endfunction()

# Test code runs once and is compiled for three builds: it is not optimised, and shares the headers all of it needs.
function(sms_quick_to_build name)
  target_compile_options(${name} PRIVATE -O0)
  target_precompile_headers(${name} REUSE_FROM sms_test_headers)
endfunction()

add_custom_target(threads_tests)  # those that the thread sanitizer tries

function(sms_test name)
  cmake_parse_arguments(TEST "THREADS" "" "LINK" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
  if(NOT sources)
    return()
  endif()
  add_executable(${name} ${sources})
  target_link_libraries(${name} PRIVATE ${TEST_LINK} sms_test_main sms_flags)
  sms_quick_to_build(${name})
  # one process a test: singletons, settings and the character map live as long as the process
  set(label single)
  if(TEST_THREADS)
    set(label threads)
    add_dependencies(threads_tests ${name})
  endif()
  gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST PROPERTIES TIMEOUT 240 LABELS ${label})
endfunction()
