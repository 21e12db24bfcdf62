# Sourced by the other scripts: installs the Debian packages that a task needs.

# need PACKAGE...: installs what is missing, as root or through sudo; names it and stops where
# neither is possible.
need() {
    local missing=() package
    for package in "$@"; do
        dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q '^install ok installed$' ||
            missing+=("$package")
    done
    [ ${#missing[@]} -eq 0 ] && return

    local as_root=()
    if [ "$(id -u)" -ne 0 ]; then
        if ! command -v sudo >/dev/null || ! sudo -v; then
            echo "These Debian packages are missing and cannot be installed without root:" >&2
            echo "  ${missing[*]}" >&2
            exit 1
        fi
        as_root=(sudo)
    fi
    echo "Installing ${missing[*]}"
    "${as_root[@]}" apt-get update -qq
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq \
        --no-install-recommends "${missing[@]}" >/dev/null
}

# What every build needs, and what a running program finds: the driver and the demo's data.
build_packages=(ca-certificates cmake g++ iso-codes libcli11-dev libexpat1-dev libicu-dev
    libpugixml-dev libsqlite3-dev nettle-dev ninja-build nlohmann-json3-dev pkg-config tdsodbc
    unixodbc-dev)
# The tests add their frameworks, clients of the sandbox and readers of what the program writes that
# were not written here, and a browser for the report.
test_packages=("${build_packages[@]}" chromium chromium-driver freetds-bin groff-base
    libbenchmark-dev libgmock-dev libgtest-dev python3 python3-jsonschema python3-pkg-resources
    python3-selenium python3-tds)
# Counting the lines that tests run.
coverage_packages=("${test_packages[@]}" gcovr)
# Style and analysis, and the fuzzers' compiler.
check_packages=("${test_packages[@]}" clang-14 clang-format-14 clang-tidy-14 libclang-rt-14-dev)
# Making the packages and trying them in a root of their own.
package_test_packages=("${build_packages[@]}" dpkg-dev lintian mmdebstrap)
# Cross-building for Windows, and running what comes of it: the sources of what Debian does not ship
# for Windows, the compilers, and wine with the host's ODBC.
windows_packages=(cmake dpkg-dev g++-mingw-w64-i686-posix g++-mingw-w64-x86-64-posix libcli11-dev
    libgtest-dev libgmock-dev libodbc2 mingw-w64-tools ninja-build tdsodbc wine wine64)
