#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# debian_package.sh BUILD_FOLDER SAMPLE: packs this build, and looks at the package and at the program from it, unpacked
# where nothing else of the build is. script/package-test installs it into a clean system.
set -euo pipefail
build=$1 sample=$2
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder"
cpack --config "$build/CPackConfig.cmake" -B packed >cpack.log 2>&1 || { cat cpack.log; exit 1; }
package=$(echo packed/*.deb)
dpkg-deb -x "$package" root

failed=0
fail() { echo "$*"; failed=1; }

diff - <(cd root && find . -type f,l | sed 's|/lib/[a-z0-9_]*-linux-gnu/|/lib/|' | sort) <<'END' || fail "other files"
./usr/bin/orvel-flv
./usr/lib/libflvextractor.so
./usr/lib/liborvel_platform.so
./usr/lib/orvel-flv/liborvel_flv_av.so
./usr/lib/orvel-flv/liborvel_flv_http.so
./usr/share/bash-completion/completions/orvel-flv
./usr/share/doc/orvel-flv/copyright
./usr/share/fish/vendor_completions.d/orvel-flv.fish
./usr/share/man/man1/orvel-flv.1
./usr/share/zsh/vendor-completions/_orvel-flv
END
depends=$(dpkg-deb -f "$package" Depends)
for library in libavcodec libavformat libavutil libswscale libcurl libfmt libc zlib1g libstdc[+][+]; do
    grep -qE "(^| )$library[0-9]* \(" <<<"$depends" || fail "depends not on $library: $depends"
done
for file in root/usr/bin/* $(find root/usr/lib -name '*.so'); do
    ! readelf -d "$file" | grep -E 'R(UN)?PATH' | grep -qvE '\[\$ORIGIN[^:]*\]' || fail "$file looks elsewhere"
    ! readelf -S "$file" | grep -q debug_info || fail "$file is not stripped"
done

run() { root/usr/bin/orvel-flv "$@" >run.log 2>&1 || { cat run.log; fail "orvel-flv $*"; }; }
run probe "$sample"
run extract -o parts "$sample"
run check "$sample"
run map "$sample" -o map.svg
run thumbnail "$sample" -o picture.png
run remux "$sample" clip.mkv
root/usr/bin/orvel-flv probe http://127.0.0.1:1/a.flv >run.log 2>&1 || grep -qi connect run.log || fail "$(<run.log)"
exit "$failed"
