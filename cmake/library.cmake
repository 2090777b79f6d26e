# libqzstr, shared and static, and the test modules qzstr_level_<level> that are bound to one set of vector kernels.
#
# core/kernel_*.cpp is compiled once per level with QZSTR_LEVEL naming it; core/dispatch.cpp chooses among them when the
# library is loaded, or is fixed to one of them by QZSTR_FORCE_LEVEL.

file(GLOB qzstr_sources CONFIGURE_DEPENDS common/qzstr/*.cpp common/qzstr/core/*.cpp)
file(GLOB qzstr_kernels CONFIGURE_DEPENDS common/qzstr/core/kernel_*.cpp)
set(qzstr_dispatch ${PROJECT_SOURCE_DIR}/common/qzstr/core/dispatch.cpp)
list(REMOVE_ITEM qzstr_sources ${qzstr_dispatch})
if(qzstr_kernels)
  list(REMOVE_ITEM qzstr_sources ${qzstr_kernels})
endif()

set(qzstr_levels sse2 avx2 avx512)
# A 16-bit movbe keeps the upper half of its register, and so waits for whatever was in it.
set(qzstr_options_avx2 -march=x86-64-v3 -mno-movbe)
set(qzstr_options_avx512 -march=x86-64-v4 -mno-movbe -mavx512vbmi -mavx512vbmi2 -mavx512bitalg -mavx512vpopcntdq)

function(qzstr_add_objects name)
  add_library(${name} OBJECT ${ARGN})
  set_target_properties(${name} PROPERTIES
    POSITION_INDEPENDENT_CODE ON CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
  target_include_directories(${name} PRIVATE include common/qzstr)
  target_compile_options(${name} PRIVATE
    -fno-exceptions -fno-rtti -fno-threadsafe-statics -fno-semantic-interposition
    # Acceleration tables are derived from the generated ones at compile time.
    $<$<CXX_COMPILER_ID:GNU>:-fconstexpr-ops-limit=4000000000 -fconstexpr-loop-limit=100000000>
    $<$<CXX_COMPILER_ID:Clang>:-fconstexpr-steps=2000000000>)
endfunction()

qzstr_add_objects(qzstr_objects ${qzstr_sources})
# It joins the two halves of a kernel's result by a load that waits for two stores.
target_compile_options(qzstr_objects PRIVATE $<$<CXX_COMPILER_ID:GNU>:-fno-tree-slp-vectorize>)
foreach(level ${qzstr_levels} plain)
  if(qzstr_kernels)
    qzstr_add_objects(qzstr_kernels_${level} ${qzstr_kernels})
    # g++ 12 takes the deliberately undefined operands inside its own vector intrinsics for mistakes.
    target_compile_options(qzstr_kernels_${level} PRIVATE ${qzstr_options_${level}}
      $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized -Wno-uninitialized>)
    target_compile_definitions(qzstr_kernels_${level} PRIVATE QZSTR_LEVEL=${level})
    set(qzstr_${level} $<TARGET_OBJECTS:qzstr_kernels_${level}>)
  endif()
endforeach()

# The resolvers run while the library is being relocated: nothing may be instrumented there.
function(qzstr_add_dispatch name)
  if(EXISTS ${qzstr_dispatch})
    qzstr_add_objects(${name} ${qzstr_dispatch})
    if(QZSTR_SANITIZE)
      target_compile_options(${name} PRIVATE -fno-sanitize=all)
    endif()
    if(QZSTR_FUZZ)
      target_compile_options(${name} PRIVATE -fno-sanitize=fuzzer-no-link)
    endif()
    if(QZSTR_COVERAGE)
      target_compile_options(${name} PRIVATE -fno-profile-arcs -fno-test-coverage)
    endif()
    set(${name} $<TARGET_OBJECTS:${name}> PARENT_SCOPE)
  endif()
endfunction()

qzstr_add_dispatch(qzstr_dispatch_auto)
set(qzstr_all $<TARGET_OBJECTS:qzstr_objects> ${qzstr_dispatch_auto} ${qzstr_sse2} ${qzstr_avx2} ${qzstr_avx512})

# Linked as C, so that nothing of the C++ run-time library is needed. The three routines of qzstr_charset.h's runtime
# stay undefined: the program has them.
add_library(qzstr SHARED ${qzstr_all})
add_library(qzstr_static STATIC ${qzstr_all})
set_target_properties(qzstr PROPERTIES
  VERSION 1.0.0 SOVERSION 1 LINK_DEPENDS ${PROJECT_SOURCE_DIR}/common/qzstr/qzstr.map)
set_target_properties(qzstr_static PROPERTIES OUTPUT_NAME qzstr)
function(qzstr_link_as_c target)
  set_target_properties(${target} PROPERTIES LINKER_LANGUAGE C)
  target_link_options(${target} PRIVATE
    -Wl,-z,relro,-z,now -Wl,-Bsymbolic-functions
    -Wl,--version-script=${PROJECT_SOURCE_DIR}/common/qzstr/qzstr.map)
endfunction()
qzstr_link_as_c(qzstr)
set_target_properties(qzstr_static PROPERTIES LINKER_LANGUAGE C)
# The names that find_package gives them.
foreach(target qzstr qzstr_static)
  target_include_directories(${target} INTERFACE $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include> $<INSTALL_INTERFACE:include>)
  add_library(qzstr::${target} ALIAS ${target})
endforeach()

if(QZSTR_TESTS OR QZSTR_FUZZ)
  foreach(level ${qzstr_levels} plain)
    qzstr_add_dispatch(qzstr_dispatch_${level})
    if(TARGET qzstr_dispatch_${level})
      target_compile_definitions(qzstr_dispatch_${level} PRIVATE QZSTR_FORCE_LEVEL=${level})
    endif()
    add_library(qzstr_level_${level} MODULE $<TARGET_OBJECTS:qzstr_objects> ${qzstr_dispatch_${level}} ${qzstr_${level}})
    qzstr_link_as_c(qzstr_level_${level})
    set_target_properties(qzstr_level_${level} PROPERTIES PREFIX "")
  endforeach()
endif()
