#!/usr/bin/env bash
# Unpacks the development packages of packaging/debian-packages.txt, and what they depend on, for another processor into
# a folder, from the Debian mirror of this machine. Nothing is installed: Debian's packages for two processors stand
# beside each other only in the very same versions. Needs no root.
#   scripts/sysroot.sh ARCH FOLDER    ARCH as dpkg names it: armhf, arm64
set -euo pipefail
cd "$(dirname "$0")/.."

if [ $# -ne 2 ] || [[ "$1" == -* ]]; then
  echo "usage: scripts/sysroot.sh ARCH FOLDER" >&2
  exit 2
fi
arch=$1
folder=$(realpath -m "$2")
if [ -e "$folder" ]; then
  echo "There is a $folder already." >&2
  exit 1
fi
# Without what only this machine runs: the fuzzers, the benchmarks, the tools, Python.
mapfile -t packages < <(grep -E -- '-dev$' packaging/debian-packages.txt | grep -vE '^(lib(clang-rt|benchmark|soup)|pybind11|python3)')

mkdir -p "$(dirname "$folder")"
work=$(mktemp -d "$folder.XXXXXX")
trap 'rm -rf "$work"' EXIT
mkdir "$work"/{lists,archives,tree}
touch "$work/status" # nothing is installed there

# The release as it came out, without updates: nothing runs there but tests, and a mirror may be behind with updates for
# other processors.
release=$(. /etc/os-release && echo "$VERSION_CODENAME")
# shellcheck disable=SC2016
mirror=$(apt-get indextargets --format '$(REPO_URI) $(RELEASE) $(COMPONENT)' 'Created-By: Packages' 'Origin: Debian' |
  awk -v release="$release" '$2 == release && $3 == "main"' | sort -u | head -1)
if [ -z "$mirror" ]; then
  echo "This machine knows no mirror of Debian \"$release\": run apt-get update." >&2
  exit 1
fi
keys=/usr/share/keyrings/debian-archive-keyring.gpg
echo "deb [arch=$arch$([ -f "$keys" ] && echo " signed-by=$keys")] $mirror" >"$work/sources.list"
# Else the machine's own settings are in force, those about proxies among them.
apt=(apt-get -qq -o "APT::Architecture=$arch" -o "APT::Architectures=$arch" -o "Dir::State=$work"
  -o "Dir::State::status=$work/status" -o "Dir::State::Lists=$work/lists" -o "Dir::Cache=$work"
  -o "Dir::Cache::archives=$work/archives" -o "Dir::Etc::SourceList=$work/sources.list" -o Dir::Etc::SourceParts=-
  -o Debug::NoLocking=true -o APT::Sandbox::User= -o Acquire::Retries=3)
"${apt[@]}" update
"${apt[@]}" install --download-only -y --no-install-recommends "${packages[@]}" >/dev/null

mkdir -p "$work"/tree/usr/{bin,lib,sbin}
ln -s usr/bin usr/lib usr/sbin "$work/tree" # what packages have at the root belongs below usr
for archive in "$work"/archives/*.deb; do
  dpkg-deb --fsys-tarfile "$archive" | tar -C "$work/tree" -x --keep-directory-symlink --no-same-owner \
    --exclude=./usr/share/doc --exclude=./usr/share/locale --exclude=./usr/share/man
done
# A link to /lib would lead out of the folder; and what is below etc or var would be taken for this machine's by
# programs that run with the folder before their paths.
find "$work/tree" -type l -lname '/*' -printf '%P %l\n' | while read -r link target; do
  ln -sfn "$(realpath -m --relative-to="$(dirname "$work/tree/$link")" "$work/tree$target")" "$work/tree/$link"
done
rm -rf "$work"/tree/{bin,sbin,etc,var} "$work"/tree/usr/{bin,sbin}
mv "$work/tree" "$folder"
echo "$folder: $(find "$work/archives" -name '*.deb' | wc -l) packages for $arch, $(du -sm "$folder" | cut -f1) MiB"
