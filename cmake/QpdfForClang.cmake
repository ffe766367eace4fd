# In C++20 clang instantiates what qpdf's JSON.hh defaults while the class is still incomplete, against GCC's library. A
# copy of that header, in which the destructor is only declared, goes before the installed one; nothing here calls it.
find_path(QPDF_INCLUDE_DIR qpdf/JSON.hh REQUIRED)
file(READ ${QPDF_INCLUDE_DIR}/qpdf/JSON.hh json_header)
string(REPLACE "virtual ~JSON_array() = default;" "virtual ~JSON_array();" json_header "${json_header}")
file(WRITE ${CMAKE_BINARY_DIR}/qpdf-for-clang/qpdf/JSON.hh "${json_header}")
include_directories(BEFORE SYSTEM ${CMAKE_BINARY_DIR}/qpdf-for-clang)
