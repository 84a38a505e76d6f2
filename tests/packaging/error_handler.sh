# Sourced by tests that take the tests' error handler out of the registry of their prefix: keeps it in a
# folder meanwhile, and brings it back. Needs `run`.
handler_name='HKLM\Software\Classes\QuenmoorCommunications.Error'
handler_class='HKLM\Software\Classes\CLSID\{7D0A3C52-61E4-4B0F-9A35-2FC8115E70D4}'

keep_error_handler() { # FOLDER
  "$run" reg export "$handler_name" "Z:$1/handler_name.reg" /y >/dev/null 2>&1 &&
    "$run" reg export "$handler_class" "Z:$1/handler_class.reg" /y >/dev/null 2>&1
}
restore_error_handler() { # FOLDER
  "$run" reg import "Z:$1/handler_name.reg" >/dev/null 2>&1
  "$run" reg import "Z:$1/handler_class.reg" >/dev/null 2>&1
}
