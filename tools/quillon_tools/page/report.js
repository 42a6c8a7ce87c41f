"use strict";
// Sorts and filters the cards of every list. Values sort with the best first, texts by the alphabet.
const sort = document.getElementById("sort");
const filter = document.getElementById("filter");
const shown = document.getElementById("shown");

function compare(key, isScore) {
  return (a, b) => {
    if (key === "name" || key === "drawing") {
      const order = a.dataset[key].localeCompare(b.dataset[key], undefined, { numeric: true });
      return order || a.dataset.rank - b.dataset.rank;
    }
    if (key === "value" && a.dataset.value !== b.dataset.value) {
      if (a.dataset.value === "" || b.dataset.value === "") return a.dataset.value === "" ? 1 : -1;
      return (a.dataset.value - b.dataset.value) * (isScore ? -1 : 1);
    }
    return a.dataset.rank - b.dataset.rank;
  };
}

function update() {
  const words = filter.value.toLowerCase().split(/\s+/).filter(Boolean);
  let visible = 0;
  const cards = document.querySelectorAll("li");
  for (const list of document.querySelectorAll("ol")) {
    const isScore = list.parentElement.querySelector(".weights") !== null;
    list.append(...[...list.children].sort(compare(sort.value, isScore)));
  }
  for (const card of cards) {
    const text = card.dataset.words.toLowerCase();
    card.hidden = !words.every((word) => text.includes(word));
    visible += card.hidden ? 0 : 1;
  }
  shown.textContent = `${visible} of ${cards.length} hits`;
}

sort.addEventListener("change", update);
filter.addEventListener("input", update);
document.querySelector("form").addEventListener("submit", (event) => event.preventDefault());
update();
