#!/usr/bin/env bash
# Installs the packages of scripts/package.sh in a bare Debian 12 of their own, as their readers would, and uses them: the
# tools without a compiler, then the development packages. Removes them again, and looks for what they leave behind.
#   scripts/package-test.sh [FOLDER]   FOLDER is build/packages unless named
# Needs root, debootstrap and the Debian mirror of this machine. Status 77, with a sentence: it cannot run here.
set -euo pipefail
cd "$(dirname "$0")/.."

cannot() { echo "package-test: NOT TESTED: $1" >&2; exit 77; }
fail() { echo "package-test: FAILED: $1" >&2; exit 1; }

packages=${1:-build/packages}
compgen -G "$packages/*.deb" >/dev/null || fail "no packages in $packages: scripts/package.sh makes them"
[ "$(id -u)" -eq 0 ] || cannot "a chroot takes root"
command -v debootstrap >/dev/null || cannot "debootstrap is missing"
unshare --mount --pid --fork true 2>/dev/null || cannot "no namespaces of one's own here"
mirror=$(apt-get indextargets --format '$(REPO_URI)' 'Identifier: Packages' 'Codename: bookworm' | head -n 1)
[ -n "$mirror" ] || cannot "apt knows no mirror of Debian 12"

root=$(mktemp -d)
trap 'rm -rf --one-file-system "$root"' EXIT
echo "== A bare Debian 12"
if ! debootstrap --variant=minbase bookworm "$root" "$mirror" >"$root.log" 2>&1; then
  tail -n 5 "$root.log" >&2
  rm -f "$root.log"
  cannot "debootstrap made no chroot"
fi
rm -f "$root.log"
cp /etc/resolv.conf "$root/etc/resolv.conf"
mkdir "$root/packages"
cp "$packages"/*.deb "$root/packages"

# inside COMMANDS: in processes and mounts of their own, which end with it.
inside() {
  env -i HOME=/root LANG=C.UTF-8 PATH=/usr/sbin:/usr/bin:/sbin:/bin DEBIAN_FRONTEND=noninteractive \
    unshare --mount --pid --fork --kill-child chroot "$root" \
    bash -euo pipefail -c "mount -t proc proc /proc; cd /root; $1"
}
quietly() { inside "{ $1; } >/tmp/log 2>&1 || { tail -n 40 /tmp/log; exit 1; }" || fail "$1"; }
# expect TEXT COMMAND: the command ends well and says the text.
expect() {
  local said
  said=$(inside "$2" 2>&1) || fail "$2: $said"
  [[ "$said" == *"$1"* ]] || fail "$2: \"$1\" is missing in: $said"
}

quietly "apt-get update"
files() { find "$root" -xdev ! -type d -printf '/%P\n' | sort; }
files >"$root/packages/before"

echo "== The packages, and a CAM"
begin=$SECONDS
quietly "apt-get install -y /packages/*.deb"
installed=$((SECONDS - begin))
expect "CAM_STATUS_READY" "ci-daemon-sim run -- cictl slots"
expect "Main menu" "printf q | ci-daemon-sim run -- cictl menu 0"
echo "installed in $installed s, a CAM seen after $((SECONDS - begin)) s"
if inside "command -v cc c++ gcc g++ cpp"; then
  fail "a compiler came along"
fi

echo "== What belongs to them"
expect "menu-walk" "ci-daemon-sim list"
quietly "getent passwd ci-daemon; getent group ciapi"
[ -f "$root/lib/systemd/system/ci-daemon-sim.service" ] || fail "no unit"
if inside "find /etc/systemd -name 'ci-daemon-sim*' | grep ."; then
  fail "the unit is enabled"
fi
for file in man1/cictl.1.gz man1/ci-daemon-sim.1.gz man5/ciapi-scenario.5.gz man7/ciapi.7.gz; do
  [ -f "$root/usr/share/man/$file" ] || fail "no manual page $file"
done

echo "== Applications: the README's by pkg-config, examples/consumer by CMake, with its tests"
quietly "apt-get install -y --no-install-recommends cmake g++ libgtest-dev make pkg-config"
inside "
  sed -n '/^\`\`\`cpp/,/^\`\`\`\$/p' /usr/share/doc/ciapi/README.md | sed '/^\`\`\`/d' >my-app.cpp
  sed -n '/^g++ /p' /usr/share/doc/ciapi/README.md >compile.sh
  grep -q my-app compile.sh" || fail "the README has no program"
quietly "sh -e compile.sh"
expect "slot 0: CAM_STATUS_READY" "ci-daemon-sim run -- ./my-app"
quietly "cmake -S /usr/share/doc/ciapi/examples/consumer -B consumer && cmake --build consumer"
expect "100% tests passed" "ctest --test-dir consumer --output-on-failure --no-tests=error"
quietly "rm -rf consumer my-app* compile.sh"

echo "== The README's test in Python"
quietly "apt-get install -y --no-install-recommends python3-pytest"
inside "
  sed -n '/^\`\`\`python/,/^\`\`\`\$/p' /usr/share/doc/ciapi/README.md | sed '/^\`\`\`/d' >test_it.py
  grep -q ci_sim test_it.py" || fail "the README has no test in Python"
expect "1 passed" "python3 -B -m pytest -p no:cacheprovider test_it.py"
quietly "rm -rf test_it.py"

echo "== Removal"
names=$(for package in "$packages"/*.deb; do dpkg-deb --field "$package" Package; done | tr '\n' ' ')
inside "for name in $names; do dpkg -L \$name; done" | sort -u >"$root/packages/owned"
quietly "apt-get purge -y $names"
# A user stays, as in all of Debian: files may be its own.
left=$(files | comm -13 "$root/packages/before" - | { grep -E 'ciapi|cictl|ci-daemon|tvplatform' || true; })
left+=$(files | comm -13 "$root/packages/before" - | comm -12 - "$root/packages/owned")
[ -z "$left" ] || fail "left behind: $left"
echo "All well."
