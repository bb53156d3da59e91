// What of an axis's state is shown, and how far its values are within their limits.

/** Flags of a state in the order in which they are shown: member, name, shape. */
export const FLAGS = [
  ['servoOn', 'servo', 'power'], ['moving', 'moving', 'run'], ['inPosition', 'in position', 'round'],
  ['homed', 'homed', 'home'], ['homeSensor', 'home sensor', 'diamond'],
  ['limitNegative', 'limit −', 'left'], ['limitPositive', 'limit +', 'right'],
];

/** Further ones, for which only the selected axis has room. */
export const MORE_FLAGS = [
  ['softLimit', 'software limit', 'diamond'], ['emergencyStop', 'emergency stop', 'diamond'],
  ['warning', 'warning', 'diamond'],
];

/** "alarm 16.2"; just "alarm" while its number is not known yet. */
export function alarmName({ alarm, alarmSub }, word = 'alarm') {
  return alarm > 0 ? `${word} ${alarm}.${alarmSub}` : word;
}

const FULL_TORQUE = 300; // % of the rated one: what the motors give for a while

/** Where a position is between the ends of its range, 0..1; null where no range is known. */
export function shareOf(position, range) {
  return range ? (position - range[0]) / (range[1] - range[0]) : null;
}

export function speedShare(axis, state) {
  // Programs may drive faster than what is set now: then the bar ends at the fastest that was seen.
  axis.fastest = Math.max(axis.fastest ?? axis.speedMax ?? 0, Math.abs(state.speed));
  return axis.fastest > 0 ? state.speed / axis.fastest : 0;
}

export function torqueShare(state) {
  return state.torque / FULL_TORQUE;
}
