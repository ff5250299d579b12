'use strict';
// Node client of the end-to-end benchmark, started by qvc_bench_e2e against
// its server on 127.0.0.1: GETs the offer list over a keep-alive agent with
// a fixed number of requests in flight, decodes each answer into the same
// objects as decode.js, and prints one line in qvc_bench_e2e's format:
//   e2e client=node answer=NAME inflight=C rep=R requests=N errors=E seconds=S rps=X p50_us=P p99_us=Q
//
//   node e2e.js --port P --consumer ID --facility F --answer NAME --expect-offers K
//               --inflight C --requests N --warmup W --seconds S [--rep R]

const http = require('http');
const { decodeOfferList } = require('./offers');

function options(argv) {
  const result = { rep: 1 };
  for (let index = 0; index < argv.length; index += 2) {
    const [name, value] = [argv[index], argv[index + 1]];
    if (value === undefined) throw new Error(`${name} needs a value`);
    const key = name.replace(/^--/, '').replace(/-([a-z])/g, (_, c) => c.toUpperCase());
    result[key] = /^[0-9.]+$/.test(value) ? Number(value) : value;
  }
  for (const required of ['port', 'consumer', 'facility', 'answer', 'expectOffers', 'inflight', 'requests', 'warmup', 'seconds']) {
    if (result[required] === undefined) throw new Error(`--${required} is required`);
  }
  // Bounded runs only.
  if (!(result.requests > 0 && result.requests <= 1000000 && result.seconds > 0 && result.seconds <= 120)) {
    throw new Error('the request count or the time limit is out of range');
  }
  return result;
}

function percentile(sorted, fraction) {
  if (sorted.length === 0) return 0;
  const rank = Math.min(sorted.length, Math.max(1, Math.ceil(fraction * sorted.length)));
  return sorted[rank - 1];
}

/** Issues `requests` GETs, `inflight` at a time, stopping early at the time limit. */
function closedLoop(opts, agent, requests) {
  return new Promise((resolve) => {
    const started = process.hrtime.bigint();
    const deadline = started + BigInt(Math.round(opts.seconds * 1e9));
    const latencies = [];
    let issued = 0;
    let running = 0;
    let errors = 0;
    let firstError = '';
    let last = started;
    const requestPath = `/lqsapi/consumers/v1/consumers/${opts.consumer}/offers?facilityId=${opts.facility}`;

    const finish = (began, error) => {
      const ended = process.hrtime.bigint();
      latencies.push(Number(ended - began) / 1e3);
      last = ended;
      if (error) {
        errors++;
        if (!firstError) firstError = error;
      }
      if (issued < requests && ended < deadline) {
        issued++;
        issue();
      } else if (--running === 0) {
        resolve({ completed: latencies.length, errors, firstError, seconds: Number(last - started) / 1e9, latencies });
      }
    };

    const issue = () => {
      const began = process.hrtime.bigint();
      const request = http.get(
        {
          host: '127.0.0.1',
          port: opts.port,
          path: requestPath,
          agent,
          headers: { Accept: 'application/json', 'X-App-Id': 'bench-app', 'X-App-Key': 'bench-key' },
        },
        (response) => {
          const chunks = [];
          response.on('data', (chunk) => chunks.push(chunk));
          response.on('end', () => {
            if (response.statusCode !== 200) {
              finish(began, `status ${response.statusCode}`);
              return;
            }
            try {
              const offers = decodeOfferList(JSON.parse(Buffer.concat(chunks).toString('utf8')));
              finish(began, offers.length === opts.expectOffers ? null : `${offers.length} offers instead of ${opts.expectOffers}`);
            } catch (error) {
              finish(began, error.message);
            }
          });
          response.on('error', (error) => finish(began, error.message));
        },
      );
      request.on('socket', (socket) => socket.setNoDelay(true));
      request.setTimeout(10000, () => request.destroy(new Error('timed out')));
      request.on('error', (error) => finish(began, error.message));
    };

    const first = Math.min(opts.inflight, requests);
    issued = first;
    running = first;
    for (let index = 0; index < first; index++) issue();
  });
}

async function main() {
  const opts = options(process.argv.slice(2));
  const agent = new http.Agent({ keepAlive: true, maxSockets: opts.inflight, noDelay: true });
  const warmup = await closedLoop(opts, agent, Math.max(1, opts.warmup));
  const outcome = await closedLoop(opts, agent, opts.requests);
  agent.destroy();
  const latencies = outcome.latencies.sort((a, b) => a - b);
  const errors = outcome.errors + warmup.errors;
  console.log(
    `e2e client=node answer=${opts.answer} inflight=${opts.inflight} rep=${opts.rep} requests=${outcome.completed} ` +
      `errors=${errors} seconds=${outcome.seconds.toFixed(4)} ` +
      `rps=${(outcome.seconds > 0 ? outcome.completed / outcome.seconds : 0).toFixed(1)} ` +
      `p50_us=${percentile(latencies, 0.5).toFixed(1)} p99_us=${percentile(latencies, 0.99).toFixed(1)}`,
  );
  if (errors > 0) {
    console.error(`e2e.js: ${errors} failed requests; first: ${outcome.firstError || warmup.firstError}`);
    process.exitCode = 1;
  }
}

main().catch((error) => {
  console.error(`e2e.js: ${error.message}`);
  process.exit(1);
});
