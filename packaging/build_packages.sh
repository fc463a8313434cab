#!/usr/bin/env bash
# Builds the Debian packages of the project into build/packages with the tools of this system, and checks them with
# lintian. Objects are kept in build/package-objects, so that a second run compiles only changes.
set -euo pipefail
project=$(cd "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/.." && pwd)
build=$project/build
log=$build/packages.log

# Copies the project's files again. A file with the same content keeps its time, so that it is not compiled again; any
# other gets a new time, since its own may be older than an existing object.
renew_source() {
  local fresh=$build/package-fresh file
  rm -rf "$fresh"
  mkdir "$fresh"
  tar -C "$project" --exclude=./build --exclude=./.git --create . | tar -C "$fresh" --extract --touch
  (cd "$fresh" && find . -type f -print0) | while IFS= read -r -d '' file; do
    if cmp -s "$fresh/$file" "$build/package-source/$file"; then
      touch --reference="$build/package-source/$file" "$fresh/$file"
    fi
  done
  rm -rf "$build/package-source"
  mv "$fresh" "$build/package-source"
}

build_them() {
  rm -rf "$build/packages"
  mkdir -p "$build/package-source" "$build/packages"
  renew_source
  cd "$build/package-source"
  DEB_BUILD_OPTIONS=noautodbgsym BUILD_FOLDER=../package-objects \
    dpkg-buildpackage --build=binary --no-pre-clean --unsigned-changes
  mv ../currentconn*_*.deb ../currentconn_*.{changes,buildinfo} "$build/packages/"
}

if ! build_them >"$log" 2>&1; then
  cat "$log" >&2
  echo "the packages could not be built; see the output above or $log" >&2
  exit 1
fi
lintian --allow-root --fail-on error,warning --tag-display-limit 0 "$build"/packages/*.changes
