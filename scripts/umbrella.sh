#!/usr/bin/env bash
# Regenerates include/QARN/QARNGeometry.h so that it includes every public header.
set -euo pipefail
cd "$(dirname "$0")/../include"
{
  echo '#ifndef QARN_QARNGEOMETRY_H'
  echo '#define QARN_QARNGEOMETRY_H'
  echo
  echo '// Every public class of the library.'
  find QARN -name '*.h' ! -path QARN/QARNGeometry.h | LC_ALL=C sort | sed 's/.*/#include <&>/'
  echo
  echo '#endif'
} >QARN/QARNGeometry.h.new
mv QARN/QARNGeometry.h.new QARN/QARNGeometry.h
