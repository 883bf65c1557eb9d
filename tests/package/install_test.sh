#!/bin/sh
# cmake --install into a scratch prefix: exactly the tool, its manual page and its bash
# completion, and the installed tool runs (its -version prints its line).
#   install_test.sh BUILD_DIR VERSION
set -eu
build=$1 version=$2
prefix=$(mktemp -d)
trap 'rm -rf "$prefix"' EXIT

cmake --install "$build" --prefix "$prefix"
installed=$(cd "$prefix" && find . -type f | LC_ALL=C sort | tr '\n' ' ')
echo "installed: $installed"
expected="./bin/qorddsping ./share/bash-completion/completions/qorddsping \
./share/doc/qorddsping/changelog.gz ./share/man/man1/qorddsping.1.gz "
[ "$installed" = "$expected" ] || {
    echo "FAIL: expected $expected"
    exit 1
}
# It creates no participant, but runs on a private host like every run of the tool here.
output=$(timeout 30 "$(dirname "$0")/../tools/private-host" "$prefix/bin/qorddsping" -version)
echo "$output"
echo "$output" | grep -q "^QOR KESTAGENT built with DDS version: " || {
    echo "FAIL: the installed qorddsping -version did not run"
    exit 1
}
zcat "$prefix/share/man/man1/qorddsping.1.gz" | grep -q '^\.TH QORDDSPING 1' || {
    echo "FAIL: the installed manual page is not qorddsping(1)"
    exit 1
}
echo "install test passed"
