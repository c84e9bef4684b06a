#!/usr/bin/env bash
# make-seeds.sh: writes the inputs that fuzzing begins with into fuzz/corpus, made of the example
# job. Run it after ./dev run; what fuzzing finds later is beside them.
set -euo pipefail
cd "$(dirname "$0")/.."

example=examples/newsletter
corpus=fuzz/corpus
mkdir -p $corpus/{configuration,tiff,templates,jobfile}

# The example's configurations, with the names of the files that the target has.
for job in newsletter newsletter-one-packet; do
  sed -e '/^#/d' -e 's/page-[CMYK]\.tif/a.tif/' $example/$job.cfg >$corpus/configuration/$job
done
printf '[Global]\r\nImageProcessingFile = "t.bin"\r\n[HXRaster]\r\nGraphicsResolutionH = 0x258\r\nGraphicsResolutionV = 600\r\n/* a page\r\nof four inks */\r\n[Image]\r\nColorSpace = hxraster_id_val_image_format_row_kcmy_multi_level\r\nCompressionMode = hxraster_id_val_compression_hxrc\r\nNumOfPlanes = 4\r\nImageFileCMYK = "a.tif"\r\nPixelDepthK = 8\r\nPixelDepthC = 8\r\nPixelDepthM = 8\r\nPixelDepthY = 8\r\n[Image]\r\nImageFileCMYK = ".\\b.tif"\r\nYOffset = +3\r\nStartingPositionX = -4\r\n' \
  >$corpus/configuration/two-pages

# An image of 8 x 2 pixels: 8 bits, and 1 bit packed; then the same in the other byte order.
little() {
  printf 'II*\0\x18\0\0\0%s' "$1"
  printf '\x08\0\0\x01\x04\0\x01\0\0\0\x08\0\0\0\x01\x01\x04\0\x01\0\0\0\x02\0\0\0'
  printf '\x02\x01\x03\0\x01\0\0\0%b\0\0\0\x03\x01\x03\0\x01\0\0\0%b\0\0' "$2" "$3"
  printf '\x06\x01\x03\0\x01\0\0\0\0\0\0\0\x11\x01\x04\0\x01\0\0\0\x08\0\0\0'
  printf '\x16\x01\x04\0\x01\0\0\0\x02\0\0\0\x1c\x01\x03\0\x01\0\0\0\x01\0\0\0\0\0\0\0'
}
# In front of each image seven bytes choose how it is read: here plain, by depth.
{ printf '\3\0\0\0\0\0\0'; little ABCDEFGHabcdefgh '\x08' '\x01\0'; } >$corpus/tiff/gray-8
{ printf '\0\0\0\0\0\0\0'; little ABCDEFGHabcdefgh '\x08' '\x01\0'; } >$corpus/tiff/gray-8-to-1
{ printf '\2\0\0\0\0\0\0'; little ABCDEFGHabcdefgh '\x08' '\x05\x80'; } >$corpus/tiff/packed-8-to-4
{ printf '\0\0\0\0\0\0\0'; little ABCDEFGHabcdefgh '\x01' '\x01\0'; } >$corpus/tiff/gray-1

# The example's templates, in packets and in one packet, with the pairs of its configuration.
parts() {
  printf "JobName=x\nCopies=3\nQuality=high\nProofCopy=ODAXGEN_SUPPRESSION\n"
  local name
  for name in StartJob SetJobConfiguration SetConfiguration VendorCmd SendData EndJob; do
    printf '\x1e'
    cat $example/templates/$name.xml
  done
}
{ printf '\3\0\0\x64\1\x2c'; parts; } >$corpus/templates/split
{ printf '\2\0\0\0\1\x2c'; parts; } >$corpus/templates/one-packet
{ printf '\3\1\0\1\0\x05'; parts | tr -d '\n'; } >$corpus/templates/long-lines

# Job files of small pages in every compression, of one ink and of four, in one packet and in
# packets of 40 bytes; the templates are those that the target knows.
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
tail -c +8 $corpus/tiff/gray-8 >"$work/a.tif"
tail -c +8 $corpus/tiff/packed-8-to-4 | tr 'A-H' '\0\0\0AB\377\377\377' >"$work/b.tif"
printf '<S>\n<p:a>1</p:a>\n<p:Copies>2</p:Copies>\n</S>\n' >"$work/StartJob.xml"
printf '<J><v name="Name">x</v></J>\n' >"$work/SetJobConfiguration.xml"
printf '<C>\r\n</C>\r\n' >"$work/SetConfiguration.xml"
printf '<D>\n<p:datasize>0</p:datasize>\n<p:continue>ON</p:continue>\n</D>\n' >"$work/SendData.xml"
printf '<E>\n<p:datasize>0</p:datasize>\n</E>\n' >"$work/EndJob.xml"

# configuration SPLIT COMPRESSION INK ...
configuration() {
  printf '[Global]\nOutFilePath="job.odx"\nSplitDataSize=%s\n[ODAX]\n' "$1"
  local name ink
  for name in StartJob SetJobConfiguration SetConfiguration SendData EndJob; do
    printf '%sXmlFile="%s.xml"\n' $name $name
  done
  printf '[HXRaster]\nGraphicsResolutionH=600\nGraphicsResolutionV=600\n'
  printf '[Image]\nColorSpace=%s\nCompressionMode=%s\nNumOfPlanes=%s\n' \
    $(($# == 3 ? 4 : 5)) "$2" $(($# - 2))
  for ink in "${@:3}"; do
    printf 'ImageFile%s="%s.tif"\nPixelDepth%s=%s\n' "$ink" "$([ "$ink" = C ] && echo b || echo a)" \
      "$ink" $(($# == 3 ? 8 : 1))
  done
}
# jobs NAME SPLIT COMPRESSION INK ...: the file behind the byte that says what is known of it.
jobs() {
  local name=$1 way=$([ "$2" = 0 ] && echo 1 || echo 0)
  configuration "${@:2}" >"$work/job.cfg"
  build/release/odaxgen run -q "$work/job.cfg"
  { printf '\0'; cat "$work/job.odx"; } >$corpus/jobfile/"$name"
  { printf '\x40\0%b\0' "\\x0$way"; cat "$work/job.odx"; } >$corpus/jobfile/"$name"-known
  { printf '\x02'; cat "$work/job.odx"; } >$corpus/jobfile/"$name"-scaled
  { printf '\x05'; cat "$work/job.odx"; } >$corpus/jobfile/"$name"-small
}
for compression in 0 2 3 4 256; do
  jobs one-ink-$compression 0 $compression K
  [ $compression = 4 ] || jobs four-inks-$compression 40 $compression K C M Y
done
