# Writes the files of the dashboard's page into a source file:
#   cmake -DFOLDER=… -DNAMES=a,b -DOUTPUT=… -P EmbedFiles.cmake
cmake_minimum_required(VERSION 3.25)

string(REPLACE "," ";" names "${NAMES}")
set(arrays)
set(rows)
set(index 0)
foreach(name IN LISTS names)
  file(READ ${FOLDER}/${name} bytes HEX)
  file(SHA256 ${FOLDER}/${name} hash)
  string(SUBSTRING ${hash} 0 16 hash)
  string(LENGTH "${bytes}" size)
  math(EXPR size "${size} / 2")
  string(REGEX REPLACE "(................................)" "\\1\n" bytes "${bytes}")
  string(REGEX REPLACE "([0-9a-f][0-9a-f])" "'\\\\x\\1'," bytes "${bytes}")
  string(APPEND arrays "constexpr char file${index}[] = {\n${bytes}};\n")
  string(APPEND rows "    PageFile{\"${name}\", \"${hash}\", {file${index}, ${size}}},\n")
  math(EXPR index "${index} + 1")
endforeach()
file(
  CONFIGURE
  OUTPUT ${OUTPUT}
  CONTENT
    "#include \"sandbox/dashboard/page_files.hpp\"

#include <array>

namespace zavelo::sandbox {
namespace {

@arrays@
constexpr std::array files{
@rows@};

}  // namespace

std::span<const PageFile> pageFiles() noexcept {
  return files;
}

}  // namespace zavelo::sandbox
"
  @ONLY)
