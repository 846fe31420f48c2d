# SPDX-License-Identifier: LGPL-2.1-or-later
# zq_add_plugin(NAME SOURCE LIBRARY): the plugin libNAME.so, which exports what NAME.map says. The loader derives the name
# of the descriptor function from the file name, so the target is named for it.
function(zq_add_plugin name source library)
    set(map ${CMAKE_CURRENT_SOURCE_DIR}/${name}.map)
    add_library(${name} MODULE ${source})
    target_compile_definitions(${name} PRIVATE ZQ_VERSION="${PROJECT_VERSION}")
    target_link_libraries(${name} PRIVATE ${library})
    target_link_options(${name} PRIVATE "LINKER:--version-script=${map}" -static-libgcc)
    set_target_properties(${name} PROPERTIES LINK_DEPENDS ${map})
    if(NOT ZQ_SANITIZE)
        target_link_options(${name} PRIVATE -Wl,--no-undefined)
    endif()
endfunction()
