#!/bin/sh
# The shared library exports exactly the functions of its version script and
# carries its SONAME. Usage: check_exports.sh LIBRARY VERSION_SCRIPT SONAME
set -eu
lib=$1 map=$2 soname=$3

expected=$(sed -n 's/^[[:space:]]*\([A-Za-z0-9_]*DV\);$/\1/p' "$map" | sort)
# Defined dynamic symbols, without the version node itself.
actual=$(nm -D --defined-only "$lib" | awk '$2 != "A" { sub(/@.*/, "", $3); print $3 }' | sort)

if [ "$actual" != "$expected" ]; then
    echo "exported symbols differ from $map:"
    echo "$actual" > /tmp/dvexports.actual.$$
    echo "$expected" > /tmp/dvexports.expected.$$
    diff /tmp/dvexports.expected.$$ /tmp/dvexports.actual.$$ || true
    rm -f /tmp/dvexports.actual.$$ /tmp/dvexports.expected.$$
    exit 1
fi
for name in $actual; do
    case "$name" in *DV) ;; *) echo "exported symbol without the DV suffix: $name"; exit 1 ;; esac
done

got=$(objdump -p "$lib" | awk '$1 == "SONAME" { print $2 }')
if [ "$got" != "$soname" ]; then
    echo "SONAME is '$got', expected '$soname'"
    exit 1
fi
echo "exports ok: $(echo "$actual" | wc -l) functions, SONAME $got"
