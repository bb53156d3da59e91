// Reads "TOPIC HEX" lines, writes them as JSON lines: a Sparkplug payload with its fields, anything
// else as text. By the low level of the decoder, which tells a field that is absent from one that is 0.
const readline = require('node:readline');
const { org } = require('sparkplug-payload/lib/sparkplugPayloadProto');
const highLevel = require('sparkplug-payload').get('spBv1.0');

const Payload = org.eclipse.tahu.protobuf.Payload;
const plain = { longs: Number, defaults: false, oneofs: true };

function decode(topic, bytes) {
  if (!topic.startsWith('spBv1.0/') || topic.startsWith('spBv1.0/STATE/')) {
    return { topic, text: bytes.toString() };
  }
  const message = { topic, payload: Payload.toObject(Payload.decode(bytes), plain) };
  // A birth has all that the high level needs.
  if (topic.includes('BIRTH/')) {
    message.birth = Object.fromEntries(highLevel.decodePayload(bytes).metrics.map(
      (metric) => [metric.name, { type: metric.type, value: Number.isFinite(metric.value?.low)
        ? Number(metric.value) : metric.value, unit: metric.properties?.engUnit?.value }]));
  }
  return message;
}

readline.createInterface({ input: process.stdin }).on('line', (line) => {
  const space = line.lastIndexOf(' ');
  const bytes = Buffer.from(line.slice(space + 1), 'hex');
  process.stdout.write(JSON.stringify(decode(line.slice(0, space), bytes)) + '\n');
});
