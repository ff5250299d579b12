'use strict';
// Node peer of the offer-list decode benchmark: JSON.parse plus plain objects
// shaped like the library's records (see offers.js), on the files that
// qvc_bench_generate writes; beside it, an idiomatic client (impl=node-plain)
// that keeps JSON.parse's own objects, skipping the entries without an offer.
//
//   node decode.js --data-dir DIR [--sizes 100,1000,10000] [--runs 5] [--min-time 0.25]
//       prints per size and impl (node, node-plain):
//         decode impl=node offers=N us_per_offer=X runs=R iterations=I
//       (X is the median of R runs; each run decodes the answer I times)
//   node decode.js --dump FILE
//       prints the listing line of every record (compare with qvc_bench_dump)
//   node --expose-gc decode.js --rss FILE
//       prints: rss impl=node offers=N baseline_kib=B peak_kib=P after_kib=A native_max_rss_kib=M

const fs = require('fs');
const path = require('path');
const { decodeOfferList, listing, processMemory } = require('./offers');

function options(argv) {
  const result = { sizes: [100, 1000, 10000], runs: 5, minTime: 0.25 };
  for (let index = 0; index < argv.length; index += 2) {
    const [name, value] = [argv[index], argv[index + 1]];
    if (value === undefined) throw new Error(`${name} needs a value`);
    if (name === '--data-dir') result.dataDir = value;
    else if (name === '--sizes') result.sizes = value.split(',').map(Number);
    else if (name === '--runs') result.runs = Number(value);
    else if (name === '--min-time') result.minTime = Number(value);
    else if (name === '--dump') result.dump = value;
    else if (name === '--rss') result.rss = value;
    else throw new Error(`unknown option ${name}`);
  }
  return result;
}

function decodeText(text, expected) {
  const offers = decodeOfferList(JSON.parse(text));
  if (expected !== undefined && offers.length !== expected) {
    throw new Error(`decoded ${offers.length} offers instead of ${expected}`);
  }
  return offers;
}

/** The idiomatic client: the parsed answer as it is, entries with an offer. */
function decodePlain(text, expected) {
  const offers = JSON.parse(text).filter((entry) => entry !== null && typeof entry.offer === 'object' && entry.offer !== null);
  if (offers.length !== expected) {
    throw new Error(`kept ${offers.length} offers instead of ${expected}`);
  }
  return offers;
}

function median(values) {
  const sorted = [...values].sort((a, b) => a - b);
  const middle = sorted.length >> 1;
  return sorted.length % 2 ? sorted[middle] : (sorted[middle - 1] + sorted[middle]) / 2;
}

function seconds(start) {
  return Number(process.hrtime.bigint() - start) / 1e9;
}

function measure(decode, text, offers, runs, minTime) {
  // Warm up (the JIT compiles the decoder) and find how many decodes fill a run.
  let iterations = 1;
  for (;;) {
    const start = process.hrtime.bigint();
    for (let i = 0; i < iterations; i++) decode(text, offers);
    const elapsed = seconds(start);
    if (elapsed >= minTime) break;
    iterations = elapsed <= 0 ? iterations * 10 : Math.max(iterations + 1, Math.ceil((iterations * minTime * 1.2) / elapsed));
  }
  const perOffer = [];
  for (let run = 0; run < runs; run++) {
    const start = process.hrtime.bigint();
    for (let i = 0; i < iterations; i++) decode(text, offers);
    perOffer.push((seconds(start) * 1e6) / iterations / offers);
  }
  return { usPerOffer: median(perOffer), iterations };
}

function main() {
  const opts = options(process.argv.slice(2));
  if (opts.dump) {
    const offers = decodeText(fs.readFileSync(opts.dump, 'utf8'));
    process.stdout.write(offers.map(listing).join(''));
    return;
  }
  if (opts.rss) {
    let text = fs.readFileSync(opts.rss, 'utf8');
    const baseline = processMemory();
    const offers = decodeText(text);
    text = null;
    if (typeof global.gc === 'function') global.gc();
    const after = processMemory();
    const native = process.resourceUsage().maxRSS;
    console.log(
      `rss impl=node offers=${offers.length} baseline_kib=${baseline.residentKiB} peak_kib=${after.peakKiB} ` +
        `after_kib=${after.residentKiB} native_max_rss_kib=${native}`,
    );
    return;
  }
  if (!opts.dataDir) throw new Error('give --data-dir, --dump or --rss');
  for (const offers of opts.sizes) {
    const text = fs.readFileSync(path.join(opts.dataDir, `offers-${offers}.json`), 'utf8');
    for (const [impl, decode] of [['node', decodeText], ['node-plain', decodePlain]]) {
      const { usPerOffer, iterations } = measure(decode, text, offers, opts.runs, opts.minTime);
      console.log(
        `decode impl=${impl} offers=${offers} us_per_offer=${usPerOffer.toFixed(4)} runs=${opts.runs} iterations=${iterations}`,
      );
    }
  }
}

try {
  main();
} catch (error) {
  console.error(`decode.js: ${error.message}`);
  process.exit(1);
}
