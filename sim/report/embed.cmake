# Writes a C++ file that holds page.html, page.css and page.js:
#   cmake -D FOLDER=... -D OUTPUT=... -P embed.cmake
set(code "#include \"sim/report/page_parts.h\"\n\nnamespace tspec::sim::report {\n\n")
foreach(part html css js)
  file(READ ${FOLDER}/page.${part} text)
  string(APPEND code "const std::string_view page_${part} = R\"part(${text})part\";\n\n")
endforeach()
string(APPEND code "} // namespace tspec::sim::report\n")
file(WRITE ${OUTPUT} "${code}")
