// Only the rows that can be seen are in the document: a table of fifty thousand would take a browser seconds.
#include "tools/velmdump/report_page.h"

const char* const report_script = R"js(
"use strict";
(function () {
  const rowHeight = 24, spare = 20;

  // What a cell shows. Kinds: "text", "count", "hex" (eight digits), "hexn" (as many as needed); null is an empty cell.
  // The texts of a table stand once, in table.texts, and the rows hold their numbers.
  function shown(table, column, value) {
    if (value === null) return "";
    switch (table.columns[column].kind) {
      case "text": return table.texts[value];
      case "hex": return "0x" + value.toString(16).toUpperCase().padStart(8, "0");
      case "hexn": return (value < 0 ? "-0x" : "0x") + Math.abs(value).toString(16).toUpperCase();
      default: return value.toLocaleString("en-US");
    }
  }

  function compare(a, b) { return a < b ? -1 : a > b ? 1 : 0; }

  class Grid {
    constructor(box) {
      this.table = JSON.parse(document.getElementById(box.dataset.table).textContent);
      this.box = box;
      this.order = this.table.rows.map((_, i) => i);
      this.sorted = -1;
      this.descending = false;
      this.texts = null;
      this.build();
      this.show();
    }

    make(tag, parent, text) {
      const element = document.createElement(tag);
      if (text !== undefined) element.textContent = text;
      parent.appendChild(element);
      return element;
    }

    build() {
      const tools = this.make("div", this.box);
      tools.className = "tools";
      this.filter = this.make("input", tools);
      this.filter.type = "search";
      this.filter.placeholder = "Filter: words to be found";
      this.filter.setAttribute("aria-label", "Filter " + this.table.name);
      this.count = this.make("span", tools);
      this.count.className = "quiet";
      this.count.setAttribute("role", "status");
      this.rows = this.make("div", this.box);
      this.rows.className = "rows";
      this.rows.tabIndex = 0;
      const table = this.make("table", this.rows);
      const head = this.make("tr", this.make("thead", table));
      this.heads = this.table.columns.map((column, i) => {
        const cell = this.make("th", head);
        cell.scope = "col";
        cell.style.minWidth = this.width(i) + "ch";
        const button = this.make("button", cell, column.name);
        button.type = "button";
        if (column.kind !== "text") button.style.textAlign = "right";
        button.addEventListener("click", () => this.sort(i));
        return cell;
      });
      this.body = this.make("tbody", table);
      this.filter.addEventListener("input", () => this.select());
      this.rows.addEventListener("scroll", () => this.draw());
    }

    // So that columns stand still while rows come and go.
    width(column) {
      let most = this.table.columns[column].name.length + 1;
      for (const row of this.table.rows) {
        const length = shown(this.table, column, row[column]).length;
        if (length > most) most = length;
      }
      return Math.min(most + 1.7, 90);  // the padding with it
    }

    sort(column) {
      this.descending = this.sorted === column && !this.descending;
      this.sorted = column;
      this.heads.forEach((head, i) => {
        if (i === column) head.setAttribute("aria-sort", this.descending ? "descending" : "ascending");
        else head.removeAttribute("aria-sort");
      });
      this.select();
    }

    // The rows that hold every word of the filter, in the order that is wanted.
    select() {
      const words = this.filter.value.toLowerCase().split(/\s+/).filter(word => word !== "");
      const rows = this.table.rows;
      if (words.length !== 0 && this.texts === null)
        this.texts = rows.map(row => row.map((value, i) => shown(this.table, i, value)).join("\n").toLowerCase());
      this.order = [];
      for (let i = 0; i < rows.length; ++i)
        if (words.every(word => this.texts[i].includes(word))) this.order.push(i);
      if (this.sorted >= 0) {
        const column = this.sorted, text = this.table.columns[column].kind === "text", turn = this.descending ? -1 : 1;
        const key = row => rows[row][column] === null ? null : text ? this.table.texts[rows[row][column]] : rows[row][column];
        this.order.sort((a, b) => {
          const x = key(a), y = key(b);
          if (x === null || y === null) return (x === null) - (y === null) || a - b;  // empty cells last
          return turn * compare(x, y) || a - b;
        });
      }
      this.rows.scrollTop = 0;
      this.show();
    }

    show() {
      const all = this.table.rows.length, now = this.order.length, number = n => n.toLocaleString("en-US");
      this.count.textContent = now === all ? number(all) + (all === 1 ? " row" : " rows")
                                           : number(now) + " of " + number(all) + " rows";
      this.draw();
    }

    draw() {
      const height = this.rows.clientHeight || 440;
      const first = Math.max(0, Math.floor(this.rows.scrollTop / rowHeight) - spare);
      const last = Math.min(this.order.length, first + Math.ceil(height / rowHeight) + 2 * spare);
      this.body.textContent = "";
      this.pad(first);
      for (let i = first; i < last; ++i) {
        const line = this.make("tr", this.body);
        if (i % 2 === 1) line.className = "odd";
        this.table.rows[this.order[i]].forEach((value, column) => {
          const cell = this.make("td", line, shown(this.table, column, value));
          cell.className = this.table.columns[column].kind === "text" ? "mono" : "mono number";
        });
      }
      this.pad(this.order.length - last);
    }

    pad(rows) {
      if (rows === 0) return;
      const line = this.make("tr", this.body);
      line.className = "pad";
      this.make("td", line).style.height = rows * rowHeight + "px";
    }
  }

  document.querySelectorAll("[data-table]").forEach(box => new Grid(box));
})();
)js";
