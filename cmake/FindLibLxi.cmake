# FindLibLxi: liblxi, the VXI-11 (ONC RPC) client, as the imported target LibLxi::LibLxi.
# Sets LibLxi_FOUND, LibLxi_INCLUDE_DIR, LibLxi_LIBRARY and LibLxi_TIRPC_LIBRARY.
#
# Debian's liblxi calls the ONC RPC functions without linking a library for them. libtirpc
# satisfies the linker, but at run time the C library's own RPC functions of the same names
# come first and serve liblxi: they ask the portmapper (version 2, as every VXI-11 instrument
# answers) and keep no cache. libtirpc 1.3.3's rpcbind address cache frees an address twice
# when a host is reached a second time, so no executable may link libtirpc directly: link
# LibLxi::LibLxi privately into a shared library only, which then carries libtirpc, kept by
# --no-as-needed although nothing of it is called.
find_path(LibLxi_INCLUDE_DIR lxi.h)
find_library(LibLxi_LIBRARY lxi)
find_library(LibLxi_TIRPC_LIBRARY tirpc)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(LibLxi
    REQUIRED_VARS LibLxi_LIBRARY LibLxi_INCLUDE_DIR LibLxi_TIRPC_LIBRARY)
mark_as_advanced(LibLxi_INCLUDE_DIR LibLxi_LIBRARY LibLxi_TIRPC_LIBRARY)

if(LibLxi_FOUND AND NOT TARGET LibLxi::LibLxi)
    add_library(LibLxi::LibLxi UNKNOWN IMPORTED)
    set_target_properties(LibLxi::LibLxi PROPERTIES
        IMPORTED_LOCATION ${LibLxi_LIBRARY}
        INTERFACE_INCLUDE_DIRECTORIES ${LibLxi_INCLUDE_DIR}
        INTERFACE_LINK_LIBRARIES "-Wl,--push-state,--no-as-needed;${LibLxi_TIRPC_LIBRARY};-Wl,--pop-state")
endif()
