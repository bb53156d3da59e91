// Dragging, wheel and two fingers on a canvas, told as pans and zooms.

const WHEEL_STEP = 0.0015;

/** `hooks`: start(x, y) may return an object with move(x, y) that takes the drag for itself;
 * pan(dx, dy), zoom(factor, x, y, event), reset(). Places are in CSS pixels of the canvas. */
export function attachGestures(canvas, hooks) {
  const pointers = new Map();
  let taken = null;
  const place = (event) => {
    const box = canvas.getBoundingClientRect();
    return { x: event.clientX - box.left, y: event.clientY - box.top };
  };
  const spread = () => {
    const [a, b] = [...pointers.values()];
    return { x: (a.x + b.x) / 2, y: (a.y + b.y) / 2, size: Math.max(10, Math.hypot(a.x - b.x, a.y - b.y)) };
  };
  canvas.addEventListener('pointerdown', (event) => {
    if (event.button !== 0) return;
    canvas.setPointerCapture(event.pointerId);
    const at = place(event);
    pointers.set(event.pointerId, at);
    taken = pointers.size === 1 ? hooks.start?.(at.x, at.y) ?? null : null;
  });
  canvas.addEventListener('pointermove', (event) => {
    const at = place(event);
    const before = pointers.get(event.pointerId);
    if (!before) return;
    const twoBefore = pointers.size === 2 ? spread() : null;
    pointers.set(event.pointerId, at);
    if (taken) {
      taken.move(at.x, at.y);
    } else if (twoBefore) {
      const now = spread();
      hooks.pan(now.x - twoBefore.x, now.y - twoBefore.y);
      hooks.zoom(twoBefore.size / now.size, now.x, now.y, event);
    } else if (pointers.size === 1) {
      hooks.pan(at.x - before.x, at.y - before.y);
    }
  });
  for (const name of ['pointerup', 'pointercancel', 'lostpointercapture']) {
    canvas.addEventListener(name, (event) => {
      pointers.delete(event.pointerId);
      taken = null;
    });
  }
  canvas.addEventListener('wheel', (event) => {
    event.preventDefault();
    const at = place(event);
    // Shift turns a wheel sideways in some browsers.
    const turned = Math.abs(event.deltaY) > Math.abs(event.deltaX) ? event.deltaY : event.deltaX;
    const pixels = event.deltaMode === 1 ? turned * 30 : turned;
    hooks.zoom(Math.exp(Math.max(-300, Math.min(300, pixels)) * WHEEL_STEP), at.x, at.y, event);
  }, { passive: false });
  canvas.addEventListener('dblclick', () => hooks.reset());
}

/** Fits the canvas to its box at the screen's own resolution; its size in CSS pixels. */
export function fitCanvas(canvas) {
  const scale = window.devicePixelRatio || 1;
  const width = Math.max(1, canvas.clientWidth);
  const height = Math.max(1, canvas.clientHeight);
  const [wide, high] = [Math.round(width * scale), Math.round(height * scale)];
  if (canvas.width !== wide || canvas.height !== high) [canvas.width, canvas.height] = [wide, high];
  const context = canvas.getContext('2d');
  context.setTransform(scale, 0, 0, scale, 0, 0);
  return { context, width, height };
}
