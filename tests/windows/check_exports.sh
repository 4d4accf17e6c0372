#!/usr/bin/env bash
# Checks the export table of the Windows DLL:
#   check_exports.sh OBJDUMP DLL HEADER
# - exactly the virel_ functions declared in HEADER are exported, thirty;
# - each shared setter pair is one routine: both names have the same RVA;
# - every other export is a routine of its own (a distinct RVA);
# - the DLL imports only system DLLs (no MinGW runtime DLLs beside it).
set -euo pipefail
objdump=$1 dll=$2 header=$3

dump=$("$objdump" -p "$dll")
fail=0
problem() { echo "FAIL: $*"; fail=1; }

# index -> RVA from the export address table, index -> name from the
# ordinal/name table.
declare -A rva_of_index name_rva
while read -r index rva; do
  rva_of_index[$index]=$rva
done < <(sed -n 's/^\t\[ *\([0-9]*\)\] +base\[ *[0-9]*\] *\([0-9a-fA-F]*\) Export RVA$/\1 \2/p' <<<"$dump")
mapfile -t names < <(sed -n '/^\[Ordinal\/Name Pointer\] Table/,/^$/p' <<<"$dump" |
                     sed -n 's/^\t\[ *\([0-9]*\)\] \([A-Za-z_][A-Za-z0-9_]*\)$/\1 \2/p')
for entry in "${names[@]}"; do
  index=${entry% *} name=${entry#* }
  [ -n "${rva_of_index[$index]:-}" ] || { problem "no address for $name"; continue; }
  name_rva[$name]=${rva_of_index[$index]}
done

exported=$(printf '%s\n' "${!name_rva[@]}" | sort)
declared=$(grep -o 'VIREL_API[^(]*\bvirel_[a-z_]*(' "$header" |
           grep -o 'virel_[a-z_]*($' | tr -d '(' | sort -u)
[ "$(wc -l <<<"$declared")" -eq 30 ] ||
  problem "$header declares $(wc -l <<<"$declared") functions, not 30"
if [ "$exported" != "$declared" ]; then
  problem "exports differ from the header (< header, > DLL):"
  diff <(echo "$declared") <(echo "$exported") | grep '^[<>]' || true
fi

pairs="virel_message_set_subject:virel_event_set_subject
virel_message_set_body_plain:virel_event_set_body_plain
virel_message_set_body_html:virel_event_set_location"
declare -A shared
for pair in $pairs; do
  a=${pair%:*} b=${pair#*:}
  shared[$a]=1 shared[$b]=1
  if [ -z "${name_rva[$a]:-}" ] || [ "${name_rva[$a]:-}" != "${name_rva[$b]:-}" ]; then
    problem "$a (${name_rva[$a]:-none}) and $b (${name_rva[$b]:-none}) are not one routine"
  fi
done
distinct=$(for n in "${!name_rva[@]}"; do
             [ -n "${shared[$n]:-}" ] && continue
             echo "${name_rva[$n]}"
           done | sort | uniq -d)
[ -z "$distinct" ] || problem "unrelated exports share an address: $distinct"

imports=$(sed -n 's/^\tDLL Name: //p' <<<"$dump" | tr 'A-Z' 'a-z' | sort -u)
for lib in $imports; do
  case $lib in
    kernel32.dll|msvcrt.dll|user32.dll|advapi32.dll|shell32.dll|ws2_32.dll|ntdll.dll) ;;
    *) problem "imports $lib, which is not a system DLL" ;;
  esac
done

if [ $fail -ne 0 ]; then
  exit 1
fi
echo "$(wc -l <<<"$exported") exports, shared pairs resolve to one address each; imports: $(echo $imports)"
