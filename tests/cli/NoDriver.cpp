// A library that can be loaded and is no ODBC driver.
extern "C" int quillon_is_no_driver() {
    return 0;
}
