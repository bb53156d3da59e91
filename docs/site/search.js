// The search works on the index that is loaded with the page, so that it needs no server.
"use strict";

const query = document.getElementById("query");
const found = document.getElementById("found");
const kMost = 12;

// "replies" and "reply" find each other.
function stem(word) {
  return word.length > 3 ? word.replace(/(ies|y|s)$/, "") : word;
}

// How well an entry fits: all words have to be in it; its title counts before its text, its
// beginning before the rest, functions before headings.
function fit(entry, words) {
  const [title, , kind, text, more] = entry;
  const name = title.toLowerCase().replace(/^zelq_/, "");
  let points = kind === "function" || kind === "result" ? 2 : 0;
  for (const word of words) {
    const bare = stem(word.replace(/^zelq_/, ""));
    if (bare && stem(name) === bare) points += 20;
    else if (name.split(/[\s`]+/).includes(bare)) points += 12;
    else if (name.startsWith(bare)) points += 8;
    else if (name.includes(bare)) points += 5;
    else if (text.toLowerCase().includes(bare)) points += 2;
    else if (more.toLowerCase().includes(bare)) points += 1;
    else return 0;
  }
  return points;
}

function show() {
  const words = query.value.toLowerCase().split(/\s+/).filter(Boolean);
  const best = searchIndex
    .map((entry) => [words.length ? fit(entry, words) : 0, entry])
    .filter(([points]) => points > 0)
    .sort((a, b) => b[0] - a[0])
    .slice(0, kMost);
  found.replaceChildren(
    ...best.map(([, [title, place, kind, text]]) => {
      const row = document.createElement("li");
      const link = document.createElement("a");
      const told = document.createElement("small");
      link.href = place;
      link.textContent = title;
      told.textContent = text || kind;
      link.append(told);
      row.append(link);
      return row;
    }),
  );
  found.hidden = words.length === 0;
}

query.addEventListener("input", show);
query.addEventListener("keydown", (event) => {
  if (event.key === "Enter" && found.querySelector("a")) found.querySelector("a").click();
  if (event.key === "Escape") found.hidden = true;
});
found.addEventListener("click", () => (found.hidden = true));
document.addEventListener("keydown", (event) => {
  if (event.key === "/" && document.activeElement !== query) {
    event.preventDefault();
    query.focus();
  }
});

// On a phone the contents are folded until they are asked for.
if (window.matchMedia("(max-width: 60rem)").matches) {
  document.querySelector("nav .menu").open = false;
}
