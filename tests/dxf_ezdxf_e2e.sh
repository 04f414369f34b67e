#!/usr/bin/env bash
# ezdxf (Debian's python3-ezdxf, an independent DXF reader) against the host: drawings ezdxf
# writes open in rdpub and are saved; ezdxf reads and audits what rdpub saved and finds the same
# tables and entities; new drawings rdpub saves (ASCII and binary) pass ezdxf's audit.
# Skipped (77) when ezdxf or rdpub is missing.
set -euo pipefail
python=/usr/bin/python3
[ -n "${KW_RDPUB:-}" ] && [ -x "$KW_RDPUB" ] || { echo "rdpub not built"; exit 77; }
"$python" -c "import ezdxf" 2>/dev/null || { echo "python3-ezdxf is not installed"; exit 77; }
here="$(cd "$(dirname "$0")" && pwd)"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
export KWRD_USER_DIR="$work/user" KWRD_WORK_DIR="$work/work"

"$python" "$here/dxf_interop.py" write "$work"
for name in r2000_gbk r2018 r2013_binary; do
  format=""
  [[ $name == *binary ]] && format="2013 BINARY"
  printf 'LIST\nSAVEAS %s %s\nQUIT\n' "$work/$name.out.dxf" "$format" |
    "$KW_RDPUB" "$work/$name.dxf" > "$work/$name.log"
  grep -q "已保存" "$work/$name.log" || { cat "$work/$name.log"; exit 1; }
done
printf 'SAVEAS %s\nSAVEAS %s 2000 BINARY\nNEW\nSAVEAS %s 2018\nQUIT\n' \
  "$work/new.dxf" "$work/new_binary.dxf" "$work/new_2018.dxf" | "$KW_RDPUB" > "$work/new.log"
"$python" "$here/dxf_interop.py" check "$work"
