#!/usr/bin/env bash
# dpkg-shlibdeps for a board's binaries, as CPack calls it when the build is
# a cross-build (packaging/CMakeLists.txt):
#
#   board-shlibdeps.sh SYSROOT ARCH DPKG-SHLIBDEPS-ARGUMENTS...
#
# dpkg-shlibdeps finds each library a binary needs, asks dpkg which package
# holds it, and reads that package's symbols file. For a board, the libraries
# and the package database are the sysroot's (scripts/make-sysroot.sh), not
# the host's: it searches the sysroot's library folders (-l), reads the
# sysroot's database (DPKG_ADMINDIR), uses the board's objdump (DEB_HOST_ARCH),
# and a dpkg-query that looks up sysroot paths under their path on the board.
# Its output and exit status are dpkg-shlibdeps' own.
set -euo pipefail

sysroot="$1" arch="$2"
shift 2
triplet="$(dpkg-architecture -a"$arch" -qDEB_HOST_MULTIARCH 2>/dev/null)"
[ -d "$sysroot/var/lib/dpkg/info" ] || { echo "board-shlibdeps: $sysroot has no package database" >&2; exit 1; }

shim="$(mktemp -d)"
trap 'rm -rf "$shim"' EXIT
# dpkg-query --search with sysroot paths: searched as the board's paths, and
# answered with the sysroot paths asked for. Every other query is dpkg-query's.
cat >"$shim/dpkg-query" <<EOF
#!/usr/bin/env bash
if [ "\${1:-}" = --search ]; then
  args=()
  for a in "\$@"; do args+=("\${a#"$sysroot"}"); done
  /usr/bin/dpkg-query "\${args[@]}" | sed 's#: /#: $sysroot/#'
  exit "\${PIPESTATUS[0]}"
fi
exec /usr/bin/dpkg-query "\$@"
EOF
chmod +x "$shim/dpkg-query"

export PATH="$shim:$PATH" DPKG_ADMINDIR="$sysroot/var/lib/dpkg" DEB_HOST_ARCH="$arch"
exec dpkg-shlibdeps "-l$sysroot/lib/$triplet" "-l$sysroot/usr/lib/$triplet" "$@"
