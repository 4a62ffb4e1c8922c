# The direction of dependencies between Quillon's libraries, checked on the link graph when the
# project is configured: a link that should not exist stops the configuration.
#   - the core links nothing of Qt;
#   - the application's state (quillon_app) links no part of the shell built on it;
#   - the desktop knowledge (quillon_desktop) links the application's state and the core only;
#   - tray, panel, notifications, bus and cli link the application's state, the desktop knowledge
#     and the core, never each other and never the application object that wires them together.

# Every library `target` reaches through its link libraries, into `result`.
function(quillon_reachable_libraries target result)
    set(seen "")
    set(queue "${target}")
    while(queue)
        list(POP_FRONT queue current)
        if(NOT TARGET "${current}" OR current IN_LIST seen)
            continue()
        endif()
        list(APPEND seen "${current}")
        get_target_property(aliased "${current}" ALIASED_TARGET)
        if(aliased)
            list(APPEND queue "${aliased}")
        endif()
        foreach(property LINK_LIBRARIES INTERFACE_LINK_LIBRARIES)
            get_target_property(links "${current}" ${property})
            if(links)
                foreach(link IN LISTS links)
                    # Generator expressions such as $<LINK_ONLY:x> wrap a plain target name.
                    string(REGEX REPLACE "^\\$<LINK_ONLY:(.*)>$" "\\1" link "${link}")
                    list(APPEND queue "${link}")
                endforeach()
            endif()
        endforeach()
    endwhile()
    list(REMOVE_ITEM seen "${target}")
    set(${result} "${seen}" PARENT_SCOPE)
endfunction()

function(quillon_forbid_links target)
    if(NOT TARGET "${target}")
        return()
    endif()
    quillon_reachable_libraries("${target}" reached)
    foreach(pattern IN LISTS ARGN)
        foreach(library IN LISTS reached)
            if(library MATCHES "${pattern}")
                message(FATAL_ERROR "${target} must not link ${library}: the libraries' "
                                    "dependencies point one way (cmake/QuillonLayering.cmake).")
            endif()
        endforeach()
    endforeach()
endfunction()

function(quillon_check_layering)
    set(shell_parts quillon_tray quillon_panel quillon_notifications quillon_bus quillon_cli)
    quillon_forbid_links(quillon_core "^Qt6?::")
    quillon_forbid_links(quillon_app "^quillon_application$" "^quillon_desktop$" ${shell_parts})
    quillon_forbid_links(quillon_desktop "^quillon_application$" ${shell_parts})
    foreach(part IN LISTS shell_parts)
        set(others ${shell_parts})
        list(REMOVE_ITEM others ${part})
        list(TRANSFORM others PREPEND "^")
        list(TRANSFORM others APPEND "$")
        quillon_forbid_links(${part} "^quillon_application$" ${others})
    endforeach()
endfunction()
