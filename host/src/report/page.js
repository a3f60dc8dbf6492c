
"use strict";
(() => {
  const MOST = 12; // details of one mark that are shown at once
  const panel = document.getElementById("details");
  const lanes = [...document.querySelectorAll(".plot")].map(plot => [...plot.querySelectorAll(".mark")])
    .filter(lane => lane.length > 0);
  if (!panel || lanes.length === 0) return;
  const place = mark => parseFloat(mark.dataset.at);
  let current = null; // the one mark that the tabulator key reaches
  let shown = null;

  const element = (name, text) => {
    const made = document.createElement(name);
    if (text !== undefined) made.textContent = text;
    return made;
  };

  // What the row of a table says, as the details of what it is about.
  const article = row => {
    const [name, ...cells] = row.cells;
    const headings = row.closest("table").tHead.rows[0].cells;
    const link = element("a", "in the table");
    link.href = "#" + row.id;
    link.setAttribute("aria-label", name.textContent + " in the table");
    const heading = element("h3");
    heading.append(element("bdi", name.textContent));
    const head = element("header");
    head.append(heading, link);
    const list = element("dl");
    cells.forEach((cell, i) => {
      if (cell.textContent === "-") return;
      const pair = element("div");
      pair.append(element("dt", headings[i + 1].textContent), element("dd", cell.textContent));
      list.append(pair);
    });
    const made = element("article");
    made.append(head, list);
    return made;
  };

  // Neither the details nor the axis, which stay in place, may hide what they are about.
  const uncover = mark => {
    const room = 12;
    const box = mark.querySelector(".ring").getBoundingClientRect();
    const below = box.bottom + room - panel.getBoundingClientRect().top;
    const above = document.querySelector(".axis").getBoundingClientRect().bottom + room - box.top;
    const by = below > 0 ? below : above > 0 ? -above : 0;
    if (by !== 0) window.scrollBy({ top: by, behavior: "instant" });
  };

  const show = mark => {
    if (shown === mark) return;
    if (shown) shown.removeAttribute("aria-current");
    shown = mark;
    panel.hidden = mark === null;
    panel.replaceChildren();
    if (mark === null) return;
    mark.setAttribute("aria-current", "true");
    const rows = mark.dataset.rows.split(" ");
    rows.slice(0, MOST).forEach(id => panel.append(article(document.getElementById(id))));
    if (rows.length > MOST) panel.append(element("p", `and ${rows.length - MOST} more, in the table below`));
    panel.scrollTop = 0;
    uncover(mark);
  };

  const choose = mark => {
    if (current) current.setAttribute("tabindex", "-1");
    current = mark;
    current.setAttribute("tabindex", "0");
  };

  const nearest = (lane, mark) =>
    lane.reduce((best, each) => Math.abs(place(each) - place(mark)) < Math.abs(place(best) - place(mark)) ? each : best);

  // Where a key leads from a mark; the mark itself at the end of its lane and beyond the first and the last one.
  const target = (key, mark) => {
    const at = lanes.findIndex(lane => lane.includes(mark));
    const lane = lanes[at];
    const i = lane.indexOf(mark);
    switch (key) {
      case "ArrowLeft": return lane[Math.max(i - 1, 0)];
      case "ArrowRight": return lane[Math.min(i + 1, lane.length - 1)];
      case "ArrowUp": return nearest(lanes[Math.max(at - 1, 0)], mark);
      case "ArrowDown": return nearest(lanes[Math.min(at + 1, lanes.length - 1)], mark);
      case "Home": return lane[0];
      case "End": return lane[lane.length - 1];
      default: return null;
    }
  };

  document.addEventListener("keydown", event => {
    if (event.key === "Escape" && shown) {
      if (panel.contains(document.activeElement)) shown.focus(); // before, since a mark that gets the focus is shown
      show(null);
      event.preventDefault();
      return;
    }
    const mark = event.target.closest(".mark");
    if (!mark || event.altKey || event.ctrlKey || event.metaKey || event.shiftKey) return;
    const next = target(event.key, mark);
    if (!next) return;
    event.preventDefault();
    next.focus();
  });

  for (const mark of lanes.flat()) {
    mark.setAttribute("tabindex", "-1");
    mark.addEventListener("focus", () => { choose(mark); show(mark); });
    mark.addEventListener("click", event => { event.preventDefault(); mark.focus(); show(mark); });
  }
  choose(lanes[0][lanes[0].length - 1]);
  document.querySelector(".keys").hidden = false;
})();
