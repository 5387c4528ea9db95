#!/usr/bin/env bash
# A small site pushed with the simulated rig and turned into a consultant's deliverables: three borings 70 m
# apart over one plume of three strengths, then the summary (CSV, GeoJSON, KML), LAS files, the 3D points and
# volume, the site map and a section through the three. The map and section are copied to docs/ for the
# README. Usage: tools/site-pictures.sh [OUTDIR] (default demo-out/site); needs ./zel.sh build first.
set -euo pipefail
cd "$(dirname "$0")/.."
CLI=$PWD/build/bin/zel-cli
OUT=${1:-demo-out/site}
mkdir -p "$OUT"
while read -r name lat lon pct; do
    cat >"$OUT/$name.json" <<JSON
{"lat": $lat, "lon": $lon, "bottom_ft": 3, "layers": [{"top_ft": 0, "bottom_ft": 1, "pct_re": 0.5},
 {"top_ft": 1, "bottom_ft": 2, "pct_re": $pct}, {"top_ft": 2, "bottom_ft": 3, "pct_re": 0.5}]}
JSON
    rm -f "$OUT/$name.lif.raw.bin"
    "$CLI" push --sim --site "$OUT/$name.json" --rate 1 --rod-ft 0 --sweep-ms 0 --points 25 --yes --name "$name" \
        --out "$OUT" >/dev/null 2>&1
done <<'SITE'
B1 45.50100 -73.56800 0.5
B2 45.50150 -73.56750 35
B3 45.50200 -73.56700 8
SITE
"$CLI" summary "$OUT" --csv "$OUT/summary.csv" --geojson "$OUT/borings.geojson" --kml "$OUT/borings.kml" 2>/dev/null
"$CLI" las "$OUT" >/dev/null
"$CLI" model "$OUT" --csv "$OUT/points.csv" --vtk "$OUT/points.vtk" --grid "$OUT/volume.vtk" 2>/dev/null
"$CLI" map "$OUT" --out docs/site-map.png --title "Rig site: three borings" --dpi 100 --line \
    611875.3,5039606.1,611951.4,5039718.5 2>/dev/null
"$CLI" section "$OUT" --out docs/site-section.png --title "Rig site: section A-A'" --dpi 100 2>/dev/null
echo "site deliverables in $OUT; pictures in docs/site-map.png and docs/site-section.png"
