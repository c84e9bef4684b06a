#!/bin/sh
# Renders page.ps to one TIFF file per ink: page-C.tif, page-M.tif, page-Y.tif and page-K.tif.
# Needs gs (Ghostscript) and tiffcp (libtiff). Two runs give the same bytes.
#
# A5 at 300 dpi: 1748 x 2480 dots, 8 bits per sample, PackBits, strips of 256 rows. Ghostscript
# writes the plates as BlackIsZero, so black (0) is full ink; this is kept as it is.
set -eu

cd "$(dirname "$0")"
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

# TIFFDateTime=false keeps the clock out of the files.
gs -q -dSAFER -dBATCH -dNOPAUSE -sDEVICE=tiffsep -r300 -dTIFFDateTime=false \
  -sOutputFile="$scratch/page.tif" page.ps

for plate in Cyan:C Magenta:M Yellow:Y Black:K; do
  # More strips than one, so that their offsets are stored as LONG.
  tiffcp -c packbits -r 256 "$scratch/page(${plate%:*}).tif" "page-${plate#*:}.tif"
done
ls -l page-?.tif
