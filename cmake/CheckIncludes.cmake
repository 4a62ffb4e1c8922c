# Run as `cmake -DSOURCE_DIR=<src> -P CheckIncludes.cmake`: fails when a source file includes a
# header its folder must not use. The core includes nothing of Qt and nothing of the shell; the
# desktop knowledge (desktop/) includes the application's state (app/) and the core; the shell's
# parts include those, never each other.
set(core model providers localstats alerts intents)
set(parts tray panel notifications bus cli)

set(failures "")
function(forbid folder pattern why)
    file(GLOB_RECURSE sources "${SOURCE_DIR}/${folder}/*.h" "${SOURCE_DIR}/${folder}/*.cpp")
    foreach(source IN LISTS sources)
        file(STRINGS "${source}" hits REGEX "${pattern}")
        foreach(hit IN LISTS hits)
            file(RELATIVE_PATH name "${SOURCE_DIR}" "${source}")
            list(APPEND failures "${name}: ${hit} (${why})")
        endforeach()
    endforeach()
    set(failures "${failures}" PARENT_SCOPE)
endfunction()

foreach(folder IN LISTS core)
    forbid(${folder} "^#include *<Qt?[A-Za-z]*" "the core has no Qt")
    forbid(${folder} "^#include *\"(app|desktop|tray|panel|notifications|bus|cli)/" "the core has no shell")
endforeach()
list(JOIN parts "|" all_parts)
forbid(desktop "^#include *\"(${all_parts})/" "desktop uses only app/ and the core")
foreach(folder IN LISTS parts)
    set(others ${parts})
    list(REMOVE_ITEM others ${folder})
    list(JOIN others "|" alternatives)
    forbid(${folder} "^#include *\"(${alternatives})/" "${folder} uses only app/, desktop/ and the core")
endforeach()

if(failures)
    list(JOIN failures "\n" report)
    message(FATAL_ERROR "Includes against the direction of dependencies:\n${report}")
endif()
message(STATUS "Every include points one way.")
