#!/usr/bin/env bash
# Installs the Debian packages, uses what is in them as a user would, purges them, and looks for
# anything that they left behind. With the rights for it this happens in the system itself; without
# them, or when the packages are installed already, in a folder that dpkg takes for a system.
# usage: check.sh FOLDER-OF-PACKAGES
set -euo pipefail
packages=$(realpath "$1")
cd "$(dirname "$0")/../.."
names=(libodaxgen0 libodaxgen-dev odaxgen)
PATH=$PATH:/usr/sbin:/sbin # dpkg asks for ldconfig

work=$(mktemp -d)
root='' # in front of each path of the system
dpkg_there=(dpkg)
if [ "$(id -u)" != 0 ] || dpkg-query -W "${names[@]}" >/dev/null 2>&1; then
  root=$work/root
  mkdir -p "$root"/var/lib/dpkg/{info,updates,triggers}
  touch "$root/var/lib/dpkg/status"
  dpkg_there+=("--root=$root" --force-not-root --force-depends --log=/dev/null)
  echo "installing into a folder, not into the system"
fi

clean_up() {
  "${dpkg_there[@]}" --purge "${names[@]}" >/dev/null 2>&1 || true
  rm -rf "$work"
}
trap clean_up EXIT

fail() {
  echo "$*" >&2
  exit 1
}

# Systems may tell dpkg to leave out documents and the like.
expect_file() { # expect_file PATH: fails when it is not there, says no when it was left out
  [ ! -e "$root$1" ] || return 0
  if [[ $1 != /usr/share/* ]] ||
    ! grep -qs '^ *path-exclude' /etc/dpkg/dpkg.cfg /etc/dpkg/dpkg.cfg.d/*; then
    fail "$1 is missing"
  fi
  echo "not checked: dpkg leaves out $1"
  return 1
}

expect_text() { # expect_text WHAT WANTED FOUND
  [ "$2" = "$3" ] || fail "$1: '$3' and not '$2'"
}

# The library's folder need not be known to the system's linker.
run_there() { LD_LIBRARY_PATH=${root:+$libraries} "$@"; }

"${dpkg_there[@]}" -i "$packages"/*.deb >"$work/install.log" 2>&1 || fail "$(cat "$work/install.log")"
"${dpkg_there[@]}" -L "${names[@]}" | sort -u >"$work/files"
libraries=$root$(sed -n 's,/libodaxgen\.so$,,p' "$work/files")
for name in "${names[@]}"; do
  expect_file "/usr/share/doc/$name/changelog.gz" || true
done
[ -n "$root" ] || ldconfig -p | grep -q '^\s*libodaxgen\.so\.0 ' || fail "ldconfig was not run"
echo "installed"

# The command ---------------------------------------------------------------------------------------
program=$root/usr/bin/odaxgen
version=$(dpkg-deb -f "$packages"/odaxgen_*.deb Version)
said=$("$program" --version)
[[ $said =~ ^"odaxgen ${version%-*}"(" ("[0-9a-f]+(-dirty)?")")?$ ]] || fail "--version said '$said'"

# A whole job that needs no image: a data file in one packet.
job=$work/job
mkdir "$job"
{
  printf '[Global]\nOutFilePath="job.odx"\nSplitDataSize=0\nSendDataFile="%s"\n[ODAX]\n' "$job/data"
  for key in StartJob SetJobConfiguration SetConfiguration SendData EndJob; do
    printf '<%s/>\n' $key >"$job/$key.xml"
    printf '%sXmlFile="%s"\n' $key "$job/$key.xml"
  done
} >"$job/job.cfg"
printf RASTER >"$job/data"
"$program" "$job/job.cfg" >"$work/echo" || fail "the job failed"
expect_text "the echo's last line" done. "$(tail -n 1 "$work/echo")"
expect_text "the job file" \
  '<StartJob/><SetJobConfiguration/><SetConfiguration/><SendData/>RASTER<EndJob/>' \
  "$(cat "$job/job.odx")"
echo "used: $said"

# The library ---------------------------------------------------------------------------------------
expect_code() { # expect_code PROGRAM: the job does not exist, so the code is -3
  expect_text "$1" "code -3" "$(run_there "$1" 2>/dev/null | tail -n 1)"
}
expect_shared() { # one file may have two paths, /lib and /usr/lib
  local used
  used=$(run_there ldd "$1" | sed -nE 's/^\s*libodaxgen\.so\.0 => ([^ ]+) .*/\1/p')
  [ "$used" -ef "$libraries/libodaxgen.so.0" ] || fail "$1 uses '$used'"
}

cmake -S tests/consumer -B "$work/consumer" ${root:+-DCMAKE_PREFIX_PATH="$root/usr"} >/dev/null
cmake --build "$work/consumer" >/dev/null
expect_code "$work/consumer/consumer"
expect_shared "$work/consumer/consumer"
expect_code "$work/consumer/consumer-static"
! ldd "$work/consumer/consumer-static" | grep -q libodaxgen || fail "consumer-static is not static"

[ -z "$root" ] ||
  export PKG_CONFIG_SYSROOT_DIR=$root PKG_CONFIG_LIBDIR=$libraries/pkgconfig
expect_text "pkg-config --modversion" "${version%-*}" "$(pkg-config --modversion odaxgen)"
# shellcheck disable=SC2046 # the flags are words on purpose
${CXX:-c++} tests/consumer/consumer.cpp -o "$work/by-pkg-config" \
  $(pkg-config --cflags --libs odaxgen)
expect_code "$work/by-pkg-config"
expect_shared "$work/by-pkg-config"
echo "built against: find_package, pkg-config"

# Manual pages and completions ----------------------------------------------------------------------
for page in man1/odaxgen.1 man5/odaxgen.cfg.5; do
  expect_file "/usr/share/man/$page.gz" || continue
  gzip -t "$root/usr/share/man/$page.gz"
  if command -v man >/dev/null; then
    name=${page#*/}
    expect_text "man -w ${name%.*}" "$root/usr/share/man/$page.gz" \
      "$(man ${root:+-M "$root/usr/share/man"} -w "${name##*.}" "${name%.*}")"
  else
    echo "not checked: man is not installed"
  fi
done
if expect_file /usr/share/bash-completion/completions/odaxgen; then
  bash --norc -c '. "$1" && complete -p odaxgen' bash \
    "$root/usr/share/bash-completion/completions/odaxgen" >/dev/null
fi
for file in zsh/vendor-completions/_odaxgen fish/vendor_completions.d/odaxgen.fish; do
  expect_file "/usr/share/$file" || true
done
echo "found: manual pages, completions"

# What is left --------------------------------------------------------------------------------------
"${dpkg_there[@]}" --purge "${names[@]}" >"$work/purge.log" 2>&1 || fail "$(cat "$work/purge.log")"
while read -r path; do
  # Folders of others, such as /usr/bin, stay.
  if [ -L "$root$path" ] || [ -f "$root$path" ] ||
    { [ -e "$root$path" ] && [[ $path == *odaxgen* ]]; }; then
    fail "$path is left behind"
  fi
done <"$work/files"
[ -n "$root" ] || ! ldconfig -p | grep -q libodaxgen || fail "ldconfig still knows the library"
! grep -qi warning "$work/purge.log" || fail "$(cat "$work/purge.log")"
echo "purged: $(wc -l <"$work/files") paths"

# What Debian says ----------------------------------------------------------------------------------
if command -v lintian >/dev/null; then
  # There is no licence to name, no address to write to and no bug report for this packaging.
  lintian --allow-root --fail-on error,warning --suppress-tags \
    no-copyright-file,bogus-mail-host,bogus-mail-host-in-debian-changelog,initial-upload-closes-no-bugs \
    "$packages"/*.deb
else
  echo "not checked: lintian is not installed"
fi
