#!/usr/bin/env bash
# The revision that --version names, in the kinds of folder that people build in.
# usage: check.sh CMAKE
set -euo pipefail
cmake=$(command -v "$1")
script=$(cd "$(dirname "$0")/../.." && pwd)/cmake/WriteRevision.cmake
if ! command -v git >/dev/null; then
  echo "not checked: git is not installed"
  exit 77 # what ctest takes for skipped
fi
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
unset GIT_DIR GIT_WORK_TREE GIT_INDEX_FILE
export GIT_CONFIG_GLOBAL=/dev/null GIT_CONFIG_SYSTEM=/dev/null

fail() {
  echo "$*" >&2
  exit 1
}

header=$work/out/Revision.h
look_up() { "$cmake" -D SOURCE="$1" -D OUTPUT="$header" -P "$script"; }
expect_revision() { # expect_revision WHAT FOLDER WANTED
  look_up "$2"
  local found
  found=$(sed -n 's/^inline constexpr const char\* kRevision = "\(.*\)";$/\1/p' "$header")
  grep -q kRevision "$header" || fail "$1: no revision in the header"
  [ "$found" = "$3" ] || fail "$1: '$found' and not '$3'"
}

commit() { # commit FOLDER
  git -C "$1" add .
  git -C "$1" -c user.name=tester -c user.email=tester@localhost commit -qm "$RANDOM"
}

tree=$work/tree
git init -q "$tree"
expect_revision "a checkout without a commit" "$tree" ""
echo one >"$tree/file"
commit "$tree"
first=$(git -C "$tree" rev-parse --short=9 HEAD)
expect_revision "a clean checkout" "$tree" "$first"

touch -d '2001-01-01' "$header"
look_up "$tree"
[ "$(date -r "$header" +%Y)" = 2001 ] || fail "a header that is right was written again"

touch "$tree/file"
expect_revision "a file with another time" "$tree" "$first"
echo note >"$tree/untracked"
expect_revision "an untracked file" "$tree" "$first"
echo two >"$tree/file"
expect_revision "a changed file" "$tree" "$first-dirty"
GIT_DIR=$work/nowhere expect_revision "within a hook of another repository" "$tree" "$first-dirty"
commit "$tree"
second=$(git -C "$tree" rev-parse --short=9 HEAD)
expect_revision "the next commit" "$tree" "$second"

git clone -q --depth 1 "file://$tree" "$work/shallow"
expect_revision "a shallow clone" "$work/shallow" "$second"
git -C "$tree" worktree add -q --detach "$work/worktree" "$first"
expect_revision "a worktree" "$work/worktree" "$first"
mkdir "$tree/unpacked"
expect_revision "sources unpacked in another repository" "$tree/unpacked" ""
mkdir "$work/unpacked"
expect_revision "sources without a repository" "$work/unpacked" ""

# CMake looks for programs in the system's folders too, whatever PATH says.
sed "s/find_program(GIT git)/find_program(GIT git NO_DEFAULT_PATH)/" "$script" >"$work/without.cmake"
! cmp -s "$script" "$work/without.cmake" || fail "the script does not look for git as expected"
script=$work/without.cmake
expect_revision "a checkout on a machine without git" "$tree" ""
echo "the revision is right"
