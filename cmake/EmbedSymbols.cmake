# Writes the symbol drawings into a C++ source: cmake -DOUT=file -DSOURCES="a;b" -P EmbedSymbols.cmake
set(text "#include \"platform/view/values/SymbolSources.h\"\n\nnamespace vellumix::view {\n\nnamespace {\nconstexpr SymbolSource sources[] = {\n")
foreach(source IN LISTS SOURCES)
    get_filename_component(name ${source} NAME_WE)
    file(READ ${source} drawing)
    string(APPEND text "    {\"${name}\", R\"drawing(${drawing})drawing\"},\n")
endforeach()
string(APPEND text "};\n}\n\nconst std::span<const SymbolSource> symbolSources = sources;\n\n}\n")
file(WRITE ${OUT} "${text}")
