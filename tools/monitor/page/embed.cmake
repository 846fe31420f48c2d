# SPDX-License-Identifier: LGPL-2.1-or-later
# cmake -DOUT=FILE -P embed.cmake: writes the files beside this one into a C++ source.
set(text "// Made of tools/monitor/page by embed.cmake.\n#include \"tools/monitor/page_files.h\"\n\n")
string(APPEND text "namespace monitor::page_files\n{\nconst std::array<file, 4> all{{\n")
foreach(pair "index.html|text/html" "page.js|text/javascript" "page.css|text/css" "icon.svg|image/svg+xml")
    string(REPLACE "|" ";" pair "${pair}")
    list(GET pair 0 name)
    list(GET pair 1 content_type)
    file(READ ${CMAKE_CURRENT_LIST_DIR}/${name} content)
    string(APPEND text "    {\"/${name}\", \"${content_type}; charset=utf-8\", R\"page-file(${content})page-file\"},\n")
endforeach()
string(APPEND text "}};\n} // namespace monitor::page_files\n")
file(WRITE ${OUT} "${text}")
