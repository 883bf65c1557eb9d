#!/bin/sh
# The Debian package as tools/make-deb makes it from BUILD_DIR: its files (no test or benchmark
# binary), its version, its dependencies (runtime libraries found by dpkg-shlibdeps, nothing of
# the build), lintian's verdict when lintian is there; then installed with dpkg into a scratch
# root, its qorddsping run (-version, and a subscriber and a publisher on a private host) and
# removed again. Exits 77 (skipped) without dpkg-deb, dpkg-shlibdeps or cpack.
#   deb_test.sh BUILD_DIR VERSION
set -eu
build=$1 version=$2
top=$(cd "$(dirname "$0")/../.." && pwd)
for tool in dpkg dpkg-deb dpkg-shlibdeps cpack; do
    command -v "$tool" >/dev/null || {
        echo "SKIPPED: $tool is missing (Debian package dpkg-dev, cmake)"
        exit 77
    }
done
fail() {
    echo "FAIL: $*"
    exit 1
}

deb=$("$top/tools/make-deb" "$build" 2>/dev/null | tail -n 1)
[ -f "$deb" ] || fail "tools/make-deb $build made no package"
echo "package: $deb"

echo "== dpkg -c"
dpkg -c "$deb"
files=$(dpkg-deb --fsys-tarfile "$deb" | tar -t | grep -v '/$' | LC_ALL=C sort | tr '\n' ' ')
expected="./usr/bin/qorddsping ./usr/share/bash-completion/completions/qorddsping \
./usr/share/doc/qorddsping/changelog.gz ./usr/share/man/man1/qorddsping.1.gz "
[ "$files" = "$expected" ] || fail "files are $files, expected $expected"
! echo "$files" | grep -Eq '_test|bench' || fail "a test or benchmark binary is packaged"

echo "== control"
dpkg-deb -f "$deb" Package Version Depends
[ "$(dpkg-deb -f "$deb" Version)" = "$version" ] || fail "version is not $version"
depends=$(dpkg-deb -f "$deb" Depends)
echo "$depends" | grep -q 'libfastrtps2\.9' || fail "no dependency on the Fast DDS runtime"
! echo "$depends" | grep -Eq -- '-dev\b|cmake|build-essential|googletest|gtest' ||
    fail "a build package among the dependencies"

if command -v apt-get >/dev/null; then
    # What apt would install on a machine that has nothing yet (an empty package database).
    echo "== apt-get install on an empty machine would install"
    empty=$(mktemp)
    pulled=$(apt-get -s -o Dir::State::status="$empty" -o Debug::NoLocking=1 install \
        --no-install-recommends "$(realpath "$deb")" | awk '/^Inst /{print $2}' | tr '\n' ' ')
    rm -f "$empty"
    echo "$pulled"
    echo " $pulled" | grep -q ' libfastrtps2\.9 ' || fail "apt would not install Fast DDS"
    ! echo " $pulled" | grep -Eq -- '-dev |[ ](cmake|make|gcc|g\+\+|gcc-12|cpp) ' ||
        fail "apt would install build packages"
fi

if command -v lintian >/dev/null; then
    echo "== lintian (reported, not judged)"
    lintian "$deb" 2>&1 || true
else
    echo "== lintian is not installed"
fi

echo "== installed with dpkg into a scratch root"
root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT
mkdir -p "$root/var/lib/dpkg/info" "$root/var/lib/dpkg/updates"
touch "$root/var/lib/dpkg/status"
# The scratch root has no packages of its own: the dependencies are this machine's.
dpkg --root="$root" --log=/dev/null --force-depends -i "$deb"
dpkg --root="$root" -s qorddsping | grep -q '^Status: install ok installed' ||
    fail "dpkg does not list qorddsping as installed"
ping="$root/usr/bin/qorddsping"
output=$(timeout 30 "$top/tests/tools/private-host" "$ping" -version)
echo "$output" | tail -n 2
echo "$output" | grep -q "^QOR KESTAGENT built with DDS version: " || fail "-version does not run"
dpkg --root="$root" -s qorddsping | grep -qx "Version: $version" ||
    fail "the package does not carry version $version"

run=$(timeout 60 "$top/tests/tools/private-host" sh -c '
    "$0" -subscriber -timeout 3 > "$1/subscriber.txt" 2>&1 & subscriber=$!
    sleep 1
    "$0" -numSamples 5 -sendPeriod 0.5 > "$1/publisher.txt" 2>&1; echo "publisher $?"
    wait $subscriber; echo "subscriber $?"' "$ping" "$root")
echo "$run"
grep 'issue received' "$root/subscriber.txt" || true
[ "$run" = "publisher 1
subscriber 1" ] || fail "the runs did not both end with status 1"
grep -q 'qorddsping, issue received: 000000[0-4]' "$root/subscriber.txt" ||
    fail "the subscriber received nothing"

echo "== removed"
dpkg --root="$root" --log=/dev/null -r qorddsping
[ ! -e "$ping" ] || fail "qorddsping is still there after removal"
[ -z "$(find "$root/usr" -type f 2>/dev/null)" ] || fail "files left after removal"
echo "package test passed"
