# What ./package-windows does after the build. To be sourced at the root of the tree, after
# cmake/setup/steps.sh.
# shellcheck shell=bash

readonly version=6.0.0.14510545
readonly name=halvard-$version-windows-x64
readonly build=build/windows

usage="usage: ./package-windows [OPTION]...

Installs what is missing (Debian 12, root or sudo), builds the Windows programs and makes
$name.zip: the agent, its client, hv_util.py, the operator's guide, the
messages, the licences of what is linked, and SHA256SUMS. The same commit makes the same bytes.

  --output FOLDER         where the zip file goes (default: build/package)
  --certificate FILE      signs the programs: the certificate and those above it, in PEM,
  --key FILE                and its key, in PEM
  --pkcs12 FILE           signs the programs: certificate and key in one file
  --password-file FILE    holds the password of the key or of the PKCS #12 file
  --timestamp URL         has a server of RFC 3161 confirm the time of the signature; without it the
                          signature bears the time of the commit and makes the same bytes again
  --help                  this text"

output=build/package certificate="" key="" pkcs12="" password="" timestamp=""

Usage() {
  echo "package-windows: $*" >&2
  echo "See ./package-windows --help." >&2
  exit 2
}

# Reads the options of ./package-windows into the variables above. A relative path is one of the folder
# $1, in which the command was given.
ParseOptions() {
  local from=$1 value file
  shift
  while [[ $# -gt 0 ]]; do
    case $1 in
      -h | --help)
        echo "$usage"
        exit
        ;;
      --output | --certificate | --key | --pkcs12 | --password-file | --timestamp)
        [[ $# -gt 1 && $2 ]] || Usage "$1 wants a value"
        value=$2
        [[ $1 == --timestamp || $value == /* ]] || value=$from/$value
        case $1 in
          --output) output=$value ;;
          --certificate) certificate=$value ;;
          --key) key=$value ;;
          --pkcs12) pkcs12=$value ;;
          --password-file) password=$value ;;
          --timestamp) timestamp=$value ;;
        esac
        shift 2
        ;;
      *) Usage "unknown option \"$1\"" ;;
    esac
  done
  [[ ! $certificate || $key ]] || Usage "--certificate wants --key beside it"
  [[ ! $key || $certificate ]] || Usage "--key wants --certificate beside it"
  [[ ! $pkcs12 || ! $key ]] || Usage "--pkcs12 and --key don't go together"
  [[ $pkcs12 || $key || ! $password$timestamp ]] || Usage "nothing to sign with: give --pkcs12, or --key"
  for file in "$certificate" "$key" "$pkcs12" "$password"; do
    [[ ! $file || -r $file ]] || Fail "can't read $file"
  done
}

# Sets the time of all that is made: the commit's, or now's for a tree that isn't one.
SetTime() {
  if [[ ! ${SOURCE_DATE_EPOCH:-} ]]; then
    SOURCE_DATE_EPOCH=$(git log -1 --format=%ct 2>/dev/null) || SOURCE_DATE_EPOCH=$(date +%s)
  fi
  export SOURCE_DATE_EPOCH
  if [[ $(git status --porcelain 2>/dev/null) ]]; then
    echo "package-windows: the tree has changes, so this is the package of no commit" >&2
  fi
}

# Sign PROGRAM: in place.
Sign() {
  local -a arguments=(-h sha256 -n "Ostrel Halvard" -time "$SOURCE_DATE_EPOCH")
  if [[ $pkcs12 ]]; then arguments+=(-pkcs12 "$pkcs12"); else arguments+=(-certs "$certificate" -key "$key"); fi
  if [[ $password ]]; then arguments+=(-readpass "$password"); fi
  if [[ $timestamp ]]; then arguments+=(-ts "$timestamp"); fi
  local said
  said=$(osslsigncode sign "${arguments[@]}" -in "$1" -out "$1.signed" 2>&1 </dev/null) || {
    echo "$said" >&2
    Fail "can't sign $(basename "$1")"
  }
  mv "$1.signed" "$1"
}

# Collects the files of the package in the folder $1.
Collect() {
  local files=$1 program
  for program in Ostrel-Halvard.exe hvctl.exe; do
    # Any other time would get into the header.
    SOURCE_DATE_EPOCH=0 x86_64-w64-mingw32-strip -o "$files/$program" "$build/bin/$program"
  done
  tools/checks/windows/imports.py "$files"/*.exe || Fail "a program imports what it must not"
  tools/checks/windows/program.py "$files"/*.exe || Fail "a program isn't as it has to be"
  cp tools/hv_util.py "$files/"
  cp docs/operator-guide.md docs/messages.md "$files/"
  packaging/windows/third_party.py "$build" >"$files/THIRD-PARTY.md" || Fail "can't tell what is linked"
  if [[ $pkcs12 || $key ]]; then
    Step "Signing the programs"
    for program in "$files"/*.exe; do Sign "$program"; done
  fi
}

# Makes the zip file of what has been built.
Pack() {
  local staging
  SetTime
  Step "Collecting the files"
  staging=$(mktemp -d)
  # shellcheck disable=SC2064  # the folder of this call
  trap "rm -rf '$staging'" EXIT
  mkdir "$staging/$name"
  Collect "$staging/$name"
  Step "Making $name.zip"
  mkdir -p "$output" || Fail "can't make $output"
  packaging/windows/make_zip.py "$staging/$name" "$output/$name.zip" || Fail "can't make $output/$name.zip"
  (cd "$output" && sha256sum "$name.zip" | tee "$name.zip.sha256")
}
