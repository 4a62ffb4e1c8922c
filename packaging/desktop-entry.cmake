# Writes the desktop entry: the fixed part below, then the actions that `quillon shortcuts
# --desktop-actions` prints from the program's own shortcut table, so the two never disagree.
#   cmake -DQUILLON=<binary> -DOUTPUT=<file> -P desktop-entry.cmake
execute_process(COMMAND "${QUILLON}" shortcuts --desktop-actions
                OUTPUT_VARIABLE actions RESULT_VARIABLE status)
if(NOT status EQUAL 0)
    message(FATAL_ERROR "quillon shortcuts --desktop-actions failed: ${status}")
endif()
file(WRITE "${OUTPUT}" "[Desktop Entry]
Type=Application
Name=Quillon
GenericName=Usage Monitor
Comment=See your Claude and Codex rate-limit usage in the panel
Exec=quillon
Icon=quillon
Terminal=false
Categories=Development;
Keywords=Claude;Codex;usage;rate limit;quota;
StartupNotify=false
${actions}")
