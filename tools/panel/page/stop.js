// Stop all: one button in one place, and the space bar wherever the focus is. It is sent at the
// press, ahead of anything else that this page may be doing.

const TYPED = new Set(['text', 'search', 'url', 'email', 'password', 'tel']);

/** A space that is part of a text being typed is a space. */
function isTyped(target) {
  if (target instanceof HTMLTextAreaElement) return true;
  return target instanceof HTMLInputElement && TYPED.has(target.type) &&
    target.inputMode !== 'decimal' && target.inputMode !== 'numeric';
}

export class StopAll {
  constructor(link, jog, notices) {
    this.link = link;
    this.jog = jog;
    this.notices = notices;
    this.button = document.getElementById('stop');
    this.button.addEventListener('pointerdown', (event) => {
      this.stop();
      event.preventDefault(); // the focus stays where it is
    });
    // A keyboard, a screen reader: a click without a press before it.
    this.button.addEventListener('click', (event) => { if (event.detail === 0) this.stop(); });
    for (const type of ['keydown', 'keyup']) {
      window.addEventListener(type, (event) => this.key(event), { capture: true });
    }
  }

  key(event) {
    if (event.code !== 'Space' || isTyped(event.target)) return;
    event.preventDefault(); // else the button or list that has the focus would act, too
    event.stopPropagation();
    if (event.type === 'keydown' && !event.repeat) this.stop();
  }

  stop() {
    const answer = this.link.ask('stop');
    this.jog.letGo();
    this.button.classList.add('pressed');
    setTimeout(() => this.button.classList.remove('pressed'), 250);
    answer.then((result) => this.tell(result));
  }

  tell({ result, text, lost }) {
    if (result === 0) {
      this.notices.good('All axes were told to stop.');
    } else {
      const title = result === -1 && !lost ? 'The stop was not sent' : 'The stop failed';
      this.notices.bad({ title, text, remedy: 'Use the emergency stop of the machine.' });
    }
  }
}
