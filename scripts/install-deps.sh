#!/usr/bin/env bash
# Installs the Debian 12 packages the build and the tests need, when missing.
set -euo pipefail

packages=(
  cmake g++ make binutils            # host build and image conversion (objcopy)
  gnu-efi                            # UEFI headers, crt0, libefi, libgnuefi
  libgtest-dev googletest            # test suites
  libbenchmark-dev                   # benchmarks
  nlohmann-json3-dev                 # JSON read back in the tests
  clang lld libclang-rt-14-dev       # libFuzzer targets
  mtools dosfstools                  # FAT images for firmware runs
  qemu-system-x86 ovmf               # real UEFI firmware (OVMF) for the QEMU runs
)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "Installing: ${missing[*]}"
sudo=""
[ "$(id -u)" -ne 0 ] && sudo="sudo"
$sudo apt-get update -qq
DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
