# SPDX-License-Identifier: LGPL-2.1-or-later
# zq_add_product(FOLDER): the target `product`, everything in FOLDER and below that was added so far. Called before the
# tests are added, it is what a user of the tree wants built.
function(zq_add_product folder)
    add_custom_target(product)
    set(folders ${folder})
    while(folders)
        list(POP_FRONT folders next)
        get_property(targets DIRECTORY ${next} PROPERTY BUILDSYSTEM_TARGETS)
        get_property(below DIRECTORY ${next} PROPERTY SUBDIRECTORIES)
        list(REMOVE_ITEM targets product)
        if(targets)
            add_dependencies(product ${targets})
        endif()
        list(APPEND folders ${below})
    endwhile()
endfunction()
