#!/usr/bin/env bash
# check-imports.sh FILE...: fails when a Windows program or plug-in imports a
# DLL that a bare Windows doesn't have (a mingw runtime, zlib1.dll, libbz2,
# libarchive, ...). Everything of ours and of our libraries is linked in.
set -euo pipefail
system='^(kernel32|user32|gdi32|advapi32|shell32|comdlg32|comctl32|ole32|oleaut32|msvcrt|bcrypt|crypt32|version|shlwapi|ws2_32)\.dll$'
status=0
for file in "$@"; do
  dlls=$(x86_64-w64-mingw32-objdump -p "$file" | awk '/DLL Name:/ { print $3 }')
  others=$(printf '%s\n' "$dlls" | grep -viE "$system" || true)
  if [ -n "$others" ]; then
    echo "$file imports DLLs that Windows doesn't have: $(echo $others)" >&2
    status=1
  else
    echo "$file imports system DLLs only: $(echo $dlls)"
  fi
done
exit $status
