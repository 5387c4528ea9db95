// Reads a LAS 2.0 file with las-js (an independent reader) and prints what it found as one JSON object:
// version, well parameters (STRT, STOP, STEP, NULL, WELL), curve names, row and column counts, and the data.
// Used by the end-to-end test of zel-cli las: node tools/las-check/check.js FILE
const { Las } = require('las-js');

async function main() {
  const las = new Las(process.argv[2]);
  const well = await las.wellParams();
  const data = await las.data();
  const out = {
    version: await las.version(),
    wrap: await las.wrap(),
    strt: well.STRT.value,
    stop: well.STOP.value,
    step: well.STEP.value,
    null: well.NULL.value,
    well: well.WELL.value,
    curves: await las.header(),
    rows: await las.rowCount(),
    columns: await las.columnCount(),
    data,
  };
  process.stdout.write(JSON.stringify(out) + '\n');
}

main().catch((e) => {
  process.stderr.write(String(e && e.message ? e.message : e) + '\n');
  process.exit(1);
});
