# Sourced by the tools that have tools/sign at work, in their caller's folder: its key and certificates
# are found from any other, too.
if [ -n "${QMZ_SIGN_KEY-}" ]; then
  command -v osslsigncode >/dev/null || {
    echo "osslsigncode is missing, which signs: install osslsigncode" >&2
    exit 1
  }
  QMZ_SIGN_KEY=$(realpath -e "$QMZ_SIGN_KEY")
  QMZ_SIGN_CERTIFICATES=$(realpath -e "$QMZ_SIGN_CERTIFICATES")
  export QMZ_SIGN_KEY QMZ_SIGN_CERTIFICATES
fi
