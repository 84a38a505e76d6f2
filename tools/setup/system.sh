# Sourced by tools/setup/packages: whether the packages are for this system, and the folder for them.

os_release=${QMZ_OS_RELEASE:-/etc/os-release}
oldest_debian=12

of_system() { # NAME: what the system says of itself, or nothing
  (. "$os_release" 2>/dev/null && echo "${!1-}") || true
}

# One sentence, and the end, where they would not install or not work.
require_suitable_system() {
  local name architecture
  name=$(of_system PRETTY_NAME)
  if ! command -v apt-get >/dev/null || ! command -v dpkg >/dev/null; then
    unsuitable "This system (${name:-of no name}) has no apt-get; its packages are those of Debian."
  fi
  case " $(of_system ID) $(of_system ID_LIKE) " in
    *' debian '*) ;;
    *) unsuitable "This system (${name:-of no name}) is no Debian and none of its kin." ;;
  esac
  architecture=$(dpkg --print-architecture)
  [ "$architecture" = amd64 ] ||
    unsuitable "This system is for $architecture; the 32-bit Wine needs one for amd64, such as PCs have."
  # Kin count their releases otherwise.
  local version
  version=$(of_system VERSION_ID)
  if [ "$(of_system ID)" = debian ] && [ -n "$version" ] && [ "${version%%.*}" -lt "$oldest_debian" ]; then
    unsuitable "This is ${name:-Debian $version}; Debian $oldest_debian is the oldest with compilers for it."
  fi
}

# The compilers of installer and help take their arguments byte for byte, programs under Wine as text.
require_suitable_folder() { # FOLDER
  local folder
  folder=$(cd "$1" && pwd)
  if LC_ALL=C grep -q '[^ -~]' <<<"$folder"; then
    echo "The path $folder has letters other than those of ASCII, which some tools do not read: move the project to one without." >&2
    exit 1
  fi
}

unsuitable() { # SENTENCE
  echo "$1 Use Debian $oldest_debian for amd64, also in a container." >&2
  exit 1
}
