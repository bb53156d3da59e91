// Writes the payload of a command: its metrics as JSON are the argument.
const sparkplug = require('sparkplug-payload').get('spBv1.0');
process.stdout.write(sparkplug.encodePayload({
  timestamp: Date.now(), metrics: JSON.parse(process.argv[2]) }));
