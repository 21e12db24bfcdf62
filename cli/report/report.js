"use strict";
(() => {
  const data = JSON.parse(document.getElementById("results").textContent);
  const results = data.results;
  const elements = new Map(); // by table: its elements of rows
  for (const element of document.querySelectorAll("script.rows")) {
    const table = Number(element.dataset.table);
    if (!elements.has(table)) elements.set(table, []);
    elements.get(table).push(element);
  }
  const place = (side) => results.databases[side].server + "/" + results.databases[side].database;
  const words = {
    "identical": "identical", "different": "different", "not-whole": "not compared whole",
    "failed": "failed", "only-in-1": "only in 1", "only-in-2": "only in 2",
  };
  const rowWords = { d: "different", 1: "only-in-1", 2: "only-in-2" };

  // An element with attributes and children; texts become text, never markup.
  function make(tag, attributes, ...children) {
    const element = document.createElement(tag);
    for (const [name, value] of Object.entries(attributes || {})) {
      if (name === "on") {
        for (const [event, handler] of Object.entries(value)) element.addEventListener(event, handler);
      } else if (value !== null && value !== false) {
        element.setAttribute(name, value === true ? "" : value);
      }
    }
    element.append(...children.flat().filter((child) => child !== null));
    return element;
  }
  const number = (value) => (value === null ? "–" : value.toLocaleString("en-US"));
  const plural = (count, what) => number(count) + " " + what + (count === 1 ? "" : "s");
  const chip = (verdict, text) => make("span", { class: "chip " + verdict }, text || words[verdict]);

  function bar(parts, small) {
    const all = parts.reduce((sum, [, count]) => sum + count, 0);
    const label = parts.filter(([, count]) => count > 0)
      .map(([kind, count]) => number(count) + " " + words[kind]).join(", ");
    return make("div", { class: small ? "bar small" : "bar", role: "img", "aria-label": label },
      parts.filter(([, count]) => count > 0).map(([kind, count]) => make("span", {
        class: "c-" + kind, title: number(count) + " " + words[kind],
        style: "flex:" + (count / all) + " 0 0",
      })));
  }
  function legend(parts) {
    return make("ul", { class: "legend" }, parts.filter(([, count]) => count > 0).map(
      ([kind, count]) => make("li", {}, make("i", { class: "c-" + kind }),
        make("b", {}, number(count)), " " + words[kind])));
  }

  // ---- Values ------------------------------------------------------------------------------

  // What a browser would not show, or would obey.
  const hidden = new RegExp("[\\u0000-\\u0008\\u000b-\\u001f\\u007f-\\u009f\\u00ad\\u061c\\u180e" +
    "\\u200b\\u200e\\u200f\\u2028-\\u202e\\u2060-\\u206f\\ufeff\\ufff9-\\ufffb]" +
    "|[\\ud800-\\udbff](?![\\udc00-\\udfff])|(?<![\\ud800-\\udbff])[\\udc00-\\udfff]", "g");
  const code = (text) => "\\u" + text.charCodeAt(0).toString(16).toUpperCase().padStart(4, "0");

  function addText(to, text) {
    let plain = 0;
    for (const match of text.matchAll(hidden)) {
      to.append(text.slice(plain, match.index), make("span", { class: "ctl" }, code(match[0])));
      plain = match.index + match[0].length;
    }
    to.append(text.slice(plain));
  }
  // A part that differs, with blanks and line ends that can be seen.
  function addMarked(to, text) {
    const mark = make("mark", {});
    for (const part of text.split(/( +|\n)/)) {
      if (part === "\n") {
        mark.append(make("span", { class: "ctl" }, "\\n"), "\n");
      } else if (part.startsWith(" ")) {
        mark.append(make("span", { class: "blank" }, part));
      } else {
        addText(mark, part);
      }
    }
    to.append(mark);
  }
  const gap = (units) => make("span", { class: "gap" }, "…", make("small", {}, " " + number(units) + " more "), "…");

  const isLow = (unit) => unit >= 0xdc00 && unit <= 0xdfff;
  // Where the part begins and ends in which two texts differ; no surrogate pair is cut.
  function changedPart(a, b) {
    const shorter = Math.min(a.length, b.length);
    let begin = 0;
    while (begin < shorter && a.charCodeAt(begin) === b.charCodeAt(begin)) ++begin;
    if (begin > 0 && (isLow(a.charCodeAt(begin)) || isLow(b.charCodeAt(begin)))) --begin;
    let end = 0;
    while (end < shorter - begin &&
      a.charCodeAt(a.length - 1 - end) === b.charCodeAt(b.length - 1 - end)) ++end;
    if (end > 0 && (isLow(a.charCodeAt(a.length - end)) || isLow(b.charCodeAt(b.length - end)))) --end;
    return [begin, end];
  }

  const textOf = (cell) => (cell !== null && typeof cell === "object" ? cell.t : cell);
  const around = 60;
  const longest = 400;

  // A text in up to three parts; what is alike around the change is shortened.
  function addParts(to, text, begin, end, whole) {
    const before = text.slice(0, begin);
    const middle = text.slice(begin, text.length - end);
    const after = text.slice(text.length - end);
    let shortened = false;
    const add = (part, add1, fromEnd, room) => {
      if (whole || part.length <= room + around) return add1(part);
      shortened = true;
      let cut = fromEnd ? part.length - room : room;
      if (isLow(part.charCodeAt(cut))) ++cut;
      if (fromEnd) to.append(gap(cut));
      add1(fromEnd ? part.slice(cut) : part.slice(0, cut));
      if (!fromEnd) to.append(gap(part.length - cut));
    };
    add(before, (part) => addText(to, part), true, around);
    add(middle, (part) => addMarked(to, part), false, longest);
    add(after, (part) => addText(to, part), false, around);
    return shortened;
  }

  // `other`: the cell beside it, where they differ.
  function value(cell, other) {
    if (cell === null) return make("span", { class: "value null" }, "NULL");
    const text = textOf(cell);
    const box = make("span", { class: "value" });
    if (text === "") box.append(make("span", { class: "null" }, "empty"));
    const fill = (whole) => {
      const body = make("span", {});
      if (typeof cell === "object" && cell.from > 0) body.append(gap(cell.from));
      let shortened;
      if (other === undefined || other === null) {
        if (!whole && text.length > longest + around) {
          addText(body, text.slice(0, isLow(text.charCodeAt(longest)) ? longest + 1 : longest));
          body.append(gap(text.length - longest));
          shortened = true;
        } else {
          addText(body, text);
        }
      } else {
        const [begin, end] = changedPart(text, textOf(other));
        shortened = addParts(body, text, begin, end, whole);
      }
      if (typeof cell === "object" && cell.from + text.length < cell.of) {
        body.append(gap(cell.of - cell.from - text.length));
      }
      box.replaceChildren(body);
      if (shortened) {
        box.append(" ", make("button", {
          class: "more", type: "button", on: { click: () => { fill(true); window.dispatchEvent(new Event("rowschanged")); } },
        }, "show all"));
      }
      if (typeof cell === "object" && whole) {
        box.append(" ", make("span", { class: "gap" }, "(the report holds " + number(text.length) + " of " + number(cell.of) + " characters)"));
      }
    };
    if (text !== "") fill(false);
    return box;
  }

  // ---- Rows --------------------------------------------------------------------------------

  // The rows of a table that the report holds; read when they are needed.
  class Rows {
    constructor(table) {
      this.elements = elements.get(table) || [];
      this.parsed = new Map();
      this.all = []; // by row: element and position in it
      this.elements.forEach((element, at) => {
        for (let i = 0; i < element.dataset.kinds.length; ++i) this.all.push([at, i]);
      });
    }
    kind([at, i]) { return this.elements[at].dataset.kinds[i]; }
    row([at, i]) {
      if (!this.parsed.has(at)) {
        if (this.parsed.size > 40) this.parsed.clear();
        this.parsed.set(at, JSON.parse(this.elements[at].textContent));
      }
      return this.parsed.get(at)[i];
    }
  }

  function keyOf(table, cells) {
    const columns = table.columns;
    const parts = [];
    for (const name of table.key || []) {
      const at = columns.findIndex((column) => column.name === name);
      parts.push(make("span", {}, make("span", { class: "soft" }, name + " "), make("b", {}, value(cells[at]))));
    }
    return parts;
  }
  function pair(column, cell1, cell2, changed) {
    return make("div", { class: changed ? "pair changed" : "pair" },
      make("span", { class: "column name" }, column.name),
      make("span", { class: "in1" }, value(cell1, changed ? cell2 : undefined)),
      make("span", { class: "in2" }, value(cell2, changed ? cell1 : undefined)));
  }
  function rowElement(table, kind, row, allColumns) {
    const box = make("div", {});
    const columns = table.columns;
    if (kind === "d") {
      const [positions, cells1, cells2] = row;
      const changed = new Set(positions);
      box.append(make("header", {}, keyOf(table, cells1), make("span", { class: "kind" },
        number(changed.size) + " of " + plural(columns.length, "column") + " differ" + (changed.size === 1 ? "s" : ""))));
      columns.forEach((column, i) => {
        if (allColumns || changed.has(i)) box.append(pair(column, cells1[i], cells2[i], changed.has(i)));
      });
    } else {
      const cells = row[0];
      box.append(make("header", {}, keyOf(table, cells), make("span", { class: "kind" }, words[rowWords[kind]])));
      const rest = columns.map((column, i) => [column, i]).filter(([column]) => !column.key);
      if (rest.length > 0) {
        box.append(make("div", { class: "one" }, rest.map(([column, i]) => make("span", {},
          make("span", { class: "column name" }, kind === "2" ? column.nameIn2 : column.name), value(cells[i])))));
      }
    }
    return make("div", { class: "row " + rowWords[kind] }, box);
  }

  // Sums of heights, by position.
  class Heights {
    constructor(count, height) {
      this.count = count;
      this.height = new Float64Array(count).fill(height);
      this.tree = new Float64Array(count + 1);
      for (let i = 1; i <= count; ++i) {
        this.tree[i] += height;
        const above = i + (i & -i);
        if (above <= count) this.tree[above] += this.tree[i];
      }
    }
    set(at, height) {
      const change = height - this.height[at];
      this.height[at] = height;
      for (let i = at + 1; i <= this.count; i += i & -i) this.tree[i] += change;
    }
    before(at) {
      let sum = 0;
      for (let i = at; i > 0; i -= i & -i) sum += this.tree[i];
      return sum;
    }
    // The position that covers a height.
    find(height) {
      let at = 0;
      for (let step = 2 ** Math.floor(Math.log2(this.count || 1)); step > 0; step = Math.floor(step / 2)) {
        if (at + step <= this.count && this.tree[at + step] <= height) {
          at += step;
          height -= this.tree[at];
        }
      }
      return Math.min(at, this.count - 1);
    }
  }

  // Shows those of many rows that are in view. The page scrolls, not a part of it.
  class VirtualList {
    constructor(host, count, render) {
      this.host = host;
      this.render = render;
      this.count = count;
      this.shown = new Map();
      this.heights = new Heights(count, 90);
      this.waiting = false;
      this.later = () => {
        if (this.waiting) return;
        this.waiting = true;
        requestAnimationFrame(() => { this.waiting = false; this.update(); });
      };
      this.width = 0;
      this.changed = () => { this.remeasure(); this.later(); };
      window.addEventListener("scroll", this.later, { passive: true });
      window.addEventListener("resize", this.changed);
      window.addEventListener("rowschanged", this.changed);
      this.update();
      this.expect();
    }
    end() {
      window.removeEventListener("scroll", this.later);
      window.removeEventListener("resize", this.changed);
      window.removeEventListener("rowschanged", this.changed);
      this.count = 0;
    }
    remeasure() {
      for (const [at, element] of this.shown) this.heights.set(at, element.offsetHeight);
    }
    update() {
      if (this.count === 0 || this.onPaper) return;
      const page = document.documentElement;
      const atEnd = window.scrollY > 0 && window.scrollY + window.innerHeight >= page.scrollHeight - 2;
      // What stands at the top of the window stays there when the heights of rows above turn out.
      const top = -this.host.getBoundingClientRect().top;
      const anchor = this.heights.find(Math.max(0, top));
      const within = top - this.heights.before(anchor);
      for (let round = 0; round < 4 && this.layOut(); ++round) { /* heights were not as expected */ }
      const moved = this.heights.before(anchor) + within - top;
      if (atEnd) {
        window.scrollTo(0, page.scrollHeight);
      } else if (top > 0 && Math.abs(moved) >= 1) {
        window.scrollBy(0, moved);
      }
    }
    // The rows that have been seen tell how high the others are likely to be.
    expect() {
      const seen = [...this.shown.values()].map((element) => element.offsetHeight);
      if (seen.length === 0) return;
      this.heights = new Heights(this.count, seen.reduce((sum, height) => sum + height, 0) / seen.length);
      this.remeasure();
      this.update();
    }
    layOut() {
      const top = Math.max(0, -this.host.getBoundingClientRect().top - 400);
      const bottom = top + window.innerHeight + 800;
      const first = this.heights.find(top);
      let last = first;
      for (let at = this.heights.before(first); at < bottom && last < this.count; ++last) at += this.heights.height[last];
      for (const [at, element] of this.shown) {
        if (at >= first && at < last) continue;
        element.remove();
        this.shown.delete(at);
      }
      let before = null;
      for (let at = last - 1; at >= first; --at) {
        let element = this.shown.get(at);
        if (!element) {
          element = this.render(at);
          this.shown.set(at, element);
          this.host.insertBefore(element, before);
        }
        before = element;
      }
      let moved = false;
      for (const [at, element] of this.shown) {
        const height = element.offsetHeight;
        if (Math.abs(height - this.heights.height[at]) < 0.5) continue;
        this.heights.set(at, height);
        moved = true;
      }
      for (const [at, element] of this.shown) element.style.transform = "translateY(" + this.heights.before(at) + "px)";
      this.host.style.height = this.heights.before(this.count) + "px";
      return moved;
    }
    // Paper has no scroll bar: the first rows as they come, one below the other.
    print(most) {
      this.onPaper = true;
      this.host.replaceChildren();
      this.shown.clear();
      for (let at = 0; at < Math.min(most, this.count); ++at) this.host.append(this.render(at));
      if (this.count > most) {
        this.host.append(make("p", { class: "paper" }, "The first " + number(most) + " of " + plural(this.count, "row") + " are on paper."));
      }
    }
    restore() {
      this.onPaper = false;
      this.host.replaceChildren();
      this.update();
    }
  }

  // ---- A table -----------------------------------------------------------------------------

  let list = null;
  const paperRows = 500;
  // Browsers draw no more than some ten million lines of pixels.
  const highest = 12e6;
  const mostRows = 100000;

  // How many rows make a page, by the height that they are likely to have.
  function rowsOfPage(table, rows, chosen, allColumns) {
    const sample = chosen.slice(0, 200);
    const height = (place) => (rows.kind(place) !== "d" ? 100
      : allColumns ? 60 + 40 * table.columns.length : 60 + 60 * rows.row(place)[0].length);
    const all = sample.reduce((sum, place) => sum + height(place), 0);
    return Math.max(1000, Math.min(mostRows, Math.floor(highest * sample.length / (all || 1))));
  }

  function rowsSection(table, index) {
    const rows = new Rows(index);
    const { found, shown } = data.rows[index];
    const section = make("section", {}, make("h2", {}, "Rows"));
    if (results.road === "by-server") {
      section.append(make("p", { class: "soft" }, "A server compared, and counted the rows without reading them: quillon rows --by-server shows them."));
      return section;
    }
    if (found > shown) {
      section.append(make("p", { class: "notice", id: "left-out" },
        "Shown are the first " + number(shown) + " of " + plural(found, "row") + " that differ or stand on one side; " +
        number(found - shown) + " are left out (--report-limit)."));
    }
    if (table.verdict === "failed" && found > 0) {
      section.append(make("p", { class: "notice" }, "These rows were found before the comparison of the table failed. They say nothing of the rest."));
    }
    if (rows.all.length === 0) {
      section.append(make("p", { class: "soft" }, table.verdict === "failed" ? "None were found before it failed." : "No row differs."));
      return section;
    }
    const kinds = new Set(rows.all.map((place) => rows.kind(place)));
    const wanted = new Set(kinds);
    let allColumns = false;
    let page = 0;
    const host = make("div", { class: "virtual", id: "rows" });
    const count = make("span", { class: "soft", id: "row-count", "aria-live": "polite" });
    const pages = make("span", {});
    const show = () => {
      const chosen = rows.all.filter((place) => wanted.has(rows.kind(place)));
      const pageRows = rowsOfPage(table, rows, chosen, allColumns);
      page = Math.min(page, Math.max(0, Math.ceil(chosen.length / pageRows) - 1));
      const number0 = page * pageRows;
      const part = chosen.slice(number0, number0 + pageRows);
      if (list) list.end();
      host.replaceChildren();
      host.style.height = "";
      count.textContent = plural(chosen.length, "row");
      pages.replaceChildren();
      if (chosen.length > pageRows) {
        const turn = (by, text) => make("button", { class: "plain", type: "button",
          disabled: page + by < 0 || (page + by) * pageRows >= chosen.length,
          on: { click: () => { page += by; show(); } } }, text);
        pages.append(turn(-1, "Before"), " " + number(number0 + 1) + " to " + number(number0 + part.length) + " ", turn(1, "Next"));
      }
      list = new VirtualList(host, part.length, (at) =>
        rowElement(table, rows.kind(part[at]), rows.row(part[at]), allColumns));
    };
    const tools = make("div", { class: "tools" });
    if (kinds.size > 1) {
      for (const kind of ["d", "1", "2"]) {
        if (!kinds.has(kind)) continue;
        tools.append(make("label", { class: "choice" }, make("input", {
          type: "checkbox", checked: true, value: kind,
          on: { change: (event) => { wanted[event.target.checked ? "add" : "delete"](kind); page = 0; show(); } },
        }), words[rowWords[kind]]));
      }
    }
    if (kinds.has("d")) {
      tools.append(make("label", { class: "choice" }, make("input", {
        type: "checkbox", id: "all-columns",
        on: { change: (event) => { allColumns = event.target.checked; show(); } },
      }), "all columns"));
    }
    tools.append(count, pages);
    section.append(tools);
    if (kinds.has("d")) {
      section.append(make("p", { class: "soft" }, "Left: 1, " + place(0) + ". Right: 2, " + place(1) + "."));
    }
    section.append(host);
    section.ready = show; // heights are known only within the page
    return section;
  }

  function plainTable(heads, lines) {
    return make("div", { class: "wide" }, make("table", {},
      make("thead", {}, make("tr", {}, heads.map((head) => make("th", {}, head)))),
      make("tbody", {}, lines.map((line) => make("tr", {}, line.map((cell) => make("td", { class: "name" }, cell)))))));
  }
  const countParts = (table) => [["identical", table.identical || 0], ["different", table.differing || 0],
    ["only-in-1", table.onlyIn1 || 0], ["only-in-2", table.onlyIn2 || 0]];

  function details(table) {
    const parts = [];
    if (table.error) parts.push(make("h2", {}, "Error"), make("p", { class: "card error" }, table.error.text));
    if (table.condition !== null) {
      parts.push(make("h2", {}, "Condition"), make("p", {}, "Only rows that meet ", make("code", {}, table.condition), " were compared."));
    }
    if (table.drift.length > 0) {
      parts.push(make("h2", {}, "Declared differently"), plainTable(["Column", "What", "In 1", "In 2"],
        table.drift.map((each) => [each.column === null ? "" : each.column, each.what, each.in1 === null ? "none" : each.in1, each.in2 === null ? "none" : each.in2])));
    }
    if (table.columnsNotCompared.length > 0) {
      parts.push(make("h2", {}, "Columns that were not compared"), plainTable(["Column", "Why"],
        table.columnsNotCompared.map((each) => [each.name, each.reason === null ? words[each.why] : each.reason])));
    }
    if (table.notes.length + table.notCompared.length > 0) {
      parts.push(make("h2", {}, "Notes"), make("ul", { class: "plain" },
        table.notCompared.map((line) => make("li", {}, "not compared: " + line)), table.notes.map((line) => make("li", {}, line))));
    }
    return parts;
  }

  function showTable(root, index) {
    const table = results.tables[index];
    const parts = countParts(table);
    const rows = rowsSection(table, index);
    root.replaceChildren(
      make("a", { class: "back", href: "#" }, "← All tables"),
      make("h1", {}, make("span", { class: "name" }, table.table), table.view ? " (view)" : "", " ", chip(table.verdict, table.says)),
      make("p", { class: "soft" }, number(table.rowsIn1) + " rows in 1, " + number(table.rowsIn2) + " in 2. ",
        table.key === null ? "" : table.key.length === 0 ? "No key: whole rows are compared, in any order."
          : "Matched by " + table.key.map((name) => "[" + name + "]").join(", ") + "."),
      ...(table.identical === null ? [] : [bar(parts), legend(parts)]),
      ...details(table), rows);
    if (rows.ready) rows.ready();
    window.scrollTo(0, 0);
  }

  // ---- All tables --------------------------------------------------------------------------

  const entries = results.tables.map((table, index) => ({ table, index, name: table.table, verdict: table.verdict, says: table.says }));
  for (const [side, names] of [["only-in-1", results.onlyIn1], ["only-in-2", results.onlyIn2]]) {
    for (const name of names) entries.push({ table: null, index: -1, name, verdict: side, says: words[side] });
  }
  const severity = ["failed", "different", "only-in-1", "only-in-2", "not-whole", "identical"];
  const columns = [
    ["Table", (entry) => entry.name],
    ["Verdict", (entry) => severity.indexOf(entry.verdict)],
    ["Rows in 1", (entry) => entry.table && entry.table.rowsIn1],
    ["Rows in 2", (entry) => entry.table && entry.table.rowsIn2],
    ["Identical", (entry) => entry.table && entry.table.identical],
    ["Differing", (entry) => entry.table && entry.table.differing],
    ["Only in 1", (entry) => entry.table && entry.table.onlyIn1],
    ["Only in 2", (entry) => entry.table && entry.table.onlyIn2],
  ];
  const view = { sort: 1, down: false, text: "", verdicts: new Set(severity) };

  function sorted() {
    const by = columns[view.sort][1];
    const text = view.text.toLowerCase();
    const chosen = entries.filter((entry) => view.verdicts.has(entry.verdict) && entry.name.toLowerCase().includes(text));
    return chosen.sort((a, b) => {
      const x = by(a);
      const y = by(b);
      if (x === y) return a.name < b.name ? -1 : a.name > b.name ? 1 : 0;
      if (x === null) return 1; // what is not known comes last, whichever way
      if (y === null) return -1;
      return (x < y ? -1 : 1) * (view.down ? -1 : 1);
    });
  }
  function entryLine(entry) {
    const table = entry.table;
    const cell = (label, text) => make("td", { class: "number", "data-label": label }, text);
    return make("tr", {},
      make("td", { class: "name" }, table === null ? entry.name
        : make("button", { type: "button", on: { click: () => { location.hash = "t" + entry.index; } } }, entry.name),
        table !== null && table.view ? " (view)" : ""),
      make("td", { class: "verdict" }, chip(entry.verdict, entry.says)),
      ...columns.slice(2).map(([label, of]) => cell(label, number(of(entry)))),
      make("td", { class: "bars" }, table === null || table.identical === null ? "" : bar(countParts(table), true)));
  }
  function tablesSection() {
    const body = make("tbody", {});
    const count = make("span", { class: "soft", id: "table-count", "aria-live": "polite" });
    const heads = columns.map(([label], at) => make("th", { class: at > 1 ? "number" : null }, make("button", {
      type: "button",
      on: { click: () => { view.down = view.sort === at ? !view.down : at > 1; view.sort = at; fill(); } },
    }, label)));
    const fill = () => {
      const chosen = sorted();
      body.replaceChildren(...chosen.map(entryLine));
      count.textContent = chosen.length === entries.length ? plural(entries.length, "table") : number(chosen.length) + " of " + plural(entries.length, "table");
      heads.forEach((head, at) => {
        if (at === view.sort) head.setAttribute("aria-sort", view.down ? "descending" : "ascending");
        else head.removeAttribute("aria-sort");
      });
    };
    const tools = make("div", { class: "tools" }, make("input", {
      type: "search", id: "filter", placeholder: "Filter tables", "aria-label": "Filter tables", value: view.text,
      on: { input: (event) => { view.text = event.target.value; fill(); } },
    }));
    for (const verdict of severity) {
      if (!entries.some((entry) => entry.verdict === verdict)) continue;
      tools.append(make("label", { class: "choice" }, make("input", {
        type: "checkbox", value: verdict, checked: view.verdicts.has(verdict),
        on: { change: (event) => { view.verdicts[event.target.checked ? "add" : "delete"](verdict); fill(); } },
      }), words[verdict]));
    }
    tools.append(count);
    fill();
    return make("section", {}, make("h2", {}, "Tables"), tools,
      make("div", { class: "wide" }, make("table", { class: "tables", id: "tables" },
        make("thead", {}, make("tr", {}, heads, make("th", { class: "bars" }))), body)));
  }

  // ---- Scripts -----------------------------------------------------------------------------

  // Where the clipboard is not given to pages of files, what is selected can be copied.
  function copySelected(text) {
    const area = make("textarea", { "aria-hidden": "true", class: "unseen" });
    area.value = text;
    document.body.append(area);
    area.select();
    const copied = document.execCommand("copy");
    area.remove();
    return copied;
  }
  async function copy(text) {
    try {
      await navigator.clipboard.writeText(text);
      return true;
    } catch {
      return copySelected(text);
    }
  }
  function copyButton(text) {
    return make("button", { type: "button", class: "plain copy", "aria-live": "polite", on: {
      click: async (event) => {
        const button = event.currentTarget;
        button.textContent = await copy(text) ? "Copied" : "Not copied: select it by hand";
        setTimeout(() => { button.textContent = "Copy"; }, 2000);
      } } }, "Copy");
  }
  // Made when somebody looks at it.
  function shownScript(text) {
    const box = make("pre", { class: "value" });
    return make("details", { on: { toggle: () => { if (!box.hasChildNodes()) addText(box, text.replaceAll("\r\n", "\n")); } } },
      make("summary", {}, "Show"), box);
  }
  // What it does not bring over stands in its head, too; but there may be no script.
  function leftOutParts(script) {
    if (script.leftOut.length === 0) return [];
    return [make("p", { class: "notice" }, "Left out:"), make("ul", { class: "plain" }, script.leftOut.map((line) => {
      const item = make("li", {});
      addText(item, line);
      return item;
    }))];
  }
  function scriptParts(script) {
    switch (script.state) {
      case "whole":
        return [make("p", { class: "soft" }, plural(script.rows, "row") + ", " + plural(script.text.length, "character") +
          ". It changes nothing where a row is not as it was compared."), copyButton(script.text), shownScript(script.text)];
      case "too-long":
        return [make("p", { class: "notice" }, "It is too long for this page. This writes it into a file:"),
          make("p", {}, make("code", {}, script.command)), copyButton(script.command)];
      case "failed":
        return [make("p", { class: "notice error" }, script.reason)];
      default:
        return [make("p", { class: "soft" }, "There is nothing that a script could do.")];
    }
  }
  function scriptsSection() {
    const scripts = [...document.querySelectorAll("script.sql")].map((element) => JSON.parse(element.textContent));
    if (scripts.length === 0) return make("section", { id: "scripts", hidden: true });
    return make("section", { id: "scripts" }, make("h2", {}, "Scripts"), make("div", { class: "cards" },
      scripts.map((script) => make("div", { class: "card", "data-to": String(script.to) },
        make("h2", {}, "Make " + script.to + " agree with " + (3 - script.to)),
        make("p", { class: "name" }, "to be run in " + place(script.to - 1)), scriptParts(script), leftOutParts(script)))));
  }

  // By what was found, whichever code the command has ended with.
  const endings = {
    0: "All that was asked for agrees.", 1: "The databases differ.",
    2: "Something could not be compared: see the tables that failed.",
    3: "No difference was found, but not everything could be compared.",
  };
  function showAll(root) {
    const totals = results.totals;
    const tables = [["identical", totals.identical], ["different", totals.different], ["not-whole", totals.notWhole],
      ["failed", totals.failed], ["only-in-1", totals.onlyIn1], ["only-in-2", totals.onlyIn2]];
    const counted = results.tables.filter((table) => table.identical !== null);
    const rows = [["identical", "identical"], ["different", "differing"], ["only-in-1", "onlyIn1"], ["only-in-2", "onlyIn2"]]
      .map(([kind, member]) => [kind, counted.reduce((sum, table) => sum + table[member], 0)]);
    const uncounted = results.tables.length - counted.length;
    const anyFound = data.rows.some((each) => each.found > each.shown);
    root.replaceChildren(
      make("h1", {}, "Comparison"),
      make("p", { id: "ending" }, endings[data.found]),
      make("dl", { class: "places" }, [0, 1].flatMap((side) => [make("dt", {}, String(side + 1)), make("dd", { class: "name" }, place(side))])),
      make("div", { class: "facts" }, make("span", {}, "Begun " + results.started.replace("T", " ").replace(/\.\d+Z$/, " UTC")),
        make("span", {}, "took " + results.seconds.toLocaleString("en-US", { maximumFractionDigits: 1 }) + " s"),
        make("span", {}, results.loosened === null ? "compared exactly" : "compared " + results.loosened)),
      make("div", { class: "cards" },
        make("div", { class: "card" }, make("h2", {}, plural(entries.length, "table")), bar(tables), legend(tables)),
        make("div", { class: "card" }, make("h2", {}, "Rows"), bar(rows), legend(rows),
          uncounted > 0 ? make("p", { class: "soft" }, "without those of " + plural(uncounted, "table") + " that could not be compared") : null)),
      ...(anyFound ? [make("p", { class: "notice" }, "Of some tables not all rows are in this report: no more than " + number(data.limit) + " of each (--report-limit).")] : []),
      tablesSection(),
      scriptsSection(),
      make("section", { class: "paper" }, entries.filter((entry) => entry.table !== null).map((entry) => {
        const parts = details(entry.table);
        return parts.length === 0 ? null : make("div", {}, make("h2", { class: "name" }, entry.name), parts);
      })));
    window.scrollTo(0, 0);
  }

  // ---- Which of them -----------------------------------------------------------------------

  const root = document.getElementById("report");
  let tablesAt = 0; // where the list had been scrolled to
  function route() {
    if (list) list.end();
    list = null;
    const match = /^#t(\d+)$/.exec(location.hash);
    const index = match ? Number(match[1]) : -1;
    if (index >= 0 && index < results.tables.length) {
      showTable(root, index);
    } else {
      showAll(root);
      window.scrollTo(0, tablesAt);
    }
  }
  document.addEventListener("click", () => { if (!location.hash.startsWith("#t")) tablesAt = window.scrollY; }, true);
  window.addEventListener("hashchange", route);
  window.addEventListener("beforeprint", () => { if (list) list.print(paperRows); });
  window.addEventListener("afterprint", () => { if (list) list.restore(); });
  document.title = "Comparison of " + place(0) + " and " + place(1);
  route();
})();
