#!/bin/sh
# cmake --install into an empty directory, and into one whose language file
# the family's other programs share: theirs stays byte for byte.
set -eu
build=$1 source=$2
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT
mkdir "$dir/empty" "$dir/shared"
tarnwick='English\nVersion: 4.1\n\n[Tarnwick]\r\nString000="T"\r\n\n'
halverton='[Halverton]\nString080="\351t\351"\n'
printf "$tarnwick[Corvane]\nString000=\"old\"\n$halverton" > "$dir/shared/lang_00.ini"
cmake --install "$build" --prefix "$dir/empty" >/dev/null
cmake --install "$build" --prefix "$dir/shared" >/dev/null
cmp "$dir/empty/lang_00.ini" "$source/data/lang_00.ini"
test -x "$dir/empty/corvane" && test -x "$dir/empty/corvanectl" && test -f "$dir/empty/share/man/man1/corvanectl.1"
{ printf "$tarnwick"; sed -n '/^\[Corvane\]/,$p' "$source/data/lang_00.ini"; printf "$halverton"; } | cmp - "$dir/shared/lang_00.ini"
