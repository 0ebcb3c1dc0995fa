find_package(Threads REQUIRED)
find_package(PkgConfig REQUIRED)
find_package(nlohmann_json 3.11 REQUIRED)

pkg_check_modules(pcap REQUIRED IMPORTED_TARGET libpcap)
pkg_check_modules(knot REQUIRED IMPORTED_TARGET libknot)
pkg_check_modules(systemd REQUIRED IMPORTED_TARGET libsystemd)
pkg_check_modules(sqlite3 REQUIRED IMPORTED_TARGET sqlite3)
pkg_check_modules(sodium REQUIRED IMPORTED_TARGET libsodium)
pkg_check_modules(plist REQUIRED IMPORTED_TARGET libplist-2.0)
pkg_check_modules(ncurses REQUIRED IMPORTED_TARGET ncursesw)
pkg_check_modules(bpf REQUIRED IMPORTED_TARGET libbpf)
pkg_check_modules(zlib REQUIRED IMPORTED_TARGET zlib)

# libplist 2.3 and later keeps the sign of an integer apart from its bits.
include(CheckCXXSymbolExists)
set(CMAKE_REQUIRED_LIBRARIES PkgConfig::plist)
check_cxx_symbol_exists(plist_int_val_is_negative plist/plist.h TOVI_PLIST_TELLS_SIGNS)
unset(CMAKE_REQUIRED_LIBRARIES)
