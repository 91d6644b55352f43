# shellcheck shell=bash disable=SC2034
# What the scripts share; read with `source`. Leaves the caller in the project's root folder.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

PACOTES_CONSTRUCAO=(g++ cmake ninja-build)
PACOTES_TESTES=(libgtest-dev libxml2-utils locales python3 pkg-config)
PACOTES_CLIENTES=(curl php-cli php-soap libsoap-lite-perl python3-suds python3-zeep
    jaxws openjdk-17-jdk-headless)
PACOTES_CLANG=(clang libclang-rt-14-dev)
PACOTES_FORMATO=(clang-format clang-tidy git)

morre() {
    echo "${0##*/}: $*" >&2
    exit 1
}

# Runs a command without its output, which is shown only when it fails.
calado() {
    local diario
    diario=$(mktemp)
    if ! "$@" </dev/null >"$diario" 2>&1; then
        cat "$diario" >&2
        rm "$diario"
        return 1
    fi
    rm "$diario"
}

# Installs those of the named Debian packages that are missing.
instala() {
    local pacote faltam=() como=()
    for pacote in "$@"; do
        [[ "$(dpkg-query -W -f '${Status}' "$pacote" 2>/dev/null)" == *" installed" ]] || faltam+=("$pacote")
    done
    ((${#faltam[@]})) || return 0
    echo "installing ${faltam[*]}"
    ((EUID == 0)) || como=(sudo)
    calado "${como[@]}" apt-get update || morre "apt-get update failed"
    calado "${como[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends "${faltam[@]}" ||
        morre "could not install ${faltam[*]}"
}

# Configures a preset and builds it in build/PRESET.
constroi() {
    echo "building preset $1"
    calado cmake --preset "$1" || morre "preset $1 cannot be configured"
    calado cmake --build --preset "$1" -j2 || morre "preset $1 does not build"
}
