#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# A compiler launcher: takes the object from the build in $REUSE_FROM, whose compiler
# and options are the same, when it has been built there; else compiles.
# reuse_object.sh COMPILER ARGUMENT...  ($REUSE_IN is the build that is made)
set -euo pipefail
object=''
depends=''
for ((i = 1; i < $#; ++i)); do
  next=$((i + 1))
  case ${!i} in
    -o) object=${!next} ;;
    -MF) depends=${!next} ;;
  esac
done
here=${PWD#"$REUSE_IN"}
built=$REUSE_FROM$here/$object
if [ -n "$object" ] && [ -f "$built" ]; then
  cp "$built" "$object"
  [ -z "$depends" ] || echo "$object:" >"$depends"
else
  exec "$@"
fi
