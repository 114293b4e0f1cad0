// Draws what the page holds: plots by dygraphs, maps on a canvas. Texts of files become text nodes and nothing
// else; dygraphs, which takes HTML for labels, gets names that are made here.
'use strict';
(() => {

const data = JSON.parse(document.getElementById('data').textContent);
// The page has a legend of its own, and that of dygraphs asks for styles that the page's policy forbids.
Dygraph.PLUGINS = Dygraph.PLUGINS.filter((plugin) => plugin !== Dygraph.Plugins.Legend);

const darkness = matchMedia('(prefers-color-scheme: dark)');

// After Okabe and Ito: told apart by colour-blind people. The order puts the strongest contrasts first.
const COLOURS = {
  light: ['#0072b2', '#d55e00', '#009e73', '#cc79a7', '#e69f00', '#56b4e9', '#000000'],
  dark: ['#56b4e9', '#e69f00', '#2fbf93', '#cc79a7', '#f0e442', '#e8743b', '#ffffff'],
};
const DASHES = [null, [9, 4], [2, 3], [9, 3, 2, 3]];
// Many curves are coloured by their order, dark to bright.
const SEQUENCE = [[68, 1, 84], [71, 44, 122], [59, 81, 139], [44, 113, 142], [33, 144, 141], [39, 173, 129],
  [92, 200, 99], [170, 220, 50], [253, 231, 37]];
const MOST_PALETTE = 7 * DASHES.length;

const make = (name, properties = {}, ...children) => {
  const element = document.createElement(name);
  for (const [key, value] of Object.entries(properties)) {
    if (key in element && key !== 'role') {
      element[key] = value;
    } else {
      element.setAttribute(key, value);
    }
  }
  element.append(...children);
  return element;
};

const decode = (text, Type) => {
  const bytes = Uint8Array.from(atob(text), (c) => c.charCodeAt(0));
  return new Type(bytes.buffer);
};
const floats = (text) => decode(text, Float32Array);
const doubles = (text) => decode(text, Float64Array);

const colourOfShare = (share) => {
  const place = Math.min(Math.max(share, 0), 1) * (SEQUENCE.length - 1);
  const at = Math.min(Math.floor(place), SEQUENCE.length - 2);
  return SEQUENCE[at].map((low, i) => Math.round(low + (SEQUENCE[at + 1][i] - low) * (place - at)));
};

const strokeOf = (index, count) => {
  if (count <= MOST_PALETTE) {
    const palette = darkness.matches ? COLOURS.dark : COLOURS.light;
    return {color: palette[index % palette.length], dash: DASHES[Math.floor(index / palette.length)]};
  }
  const share = index / Math.max(count - 1, 1);
  const [r, g, b] = colourOfShare(darkness.matches ? 0.25 + 0.75 * share : 0.85 * share);
  return {color: `rgb(${r},${g},${b})`, dash: null};
};

const styleOf = (name) => getComputedStyle(document.documentElement).getPropertyValue(name).trim();

// As many digits as a float has; of a double those that no arithmetic has blurred.
const FLOAT_DIGITS = 7;
const DOUBLE_DIGITS = 12;
const formatNumber = (value, digits = FLOAT_DIGITS) => {
  if (value === null || value === undefined || Number.isNaN(value)) {
    return 'missing';
  }
  return String(Number(value.toPrecision(digits)));
};
const digitsOf = (values) => values instanceof Float64Array ? DOUBLE_DIGITS : FLOAT_DIGITS;
const formatTime = (value) => {
  const text = new Date(value).toISOString();
  return text.replace('T', ' ').replace(/(:00)?\.000Z$/, '').replace(/Z$/, '').replace(/ 00:00$/, '');
};
const formatOn = (axis, value) => axis.time && Number.isFinite(value) ? formatTime(value) : formatNumber(value, DOUBLE_DIGITS);
const nameWithUnit = (axis) => axis.unit ? `${axis.name} (${axis.unit})` : axis.name;
const counted = (count, noun) => `${count.toLocaleString('en')} ${noun}${count === 1 ? '' : 's'}`;

// ---- A plot of curves over one axis --------------------------------------------------------------------

// What is drawn of a range: the points themselves, or the least and greatest of each pixel column. `curves`
// have x in ascending order and low and high, which are one array where nothing was reduced before.
const drawnRows = (x, curves, from, to, pixels) => {
  const first = Math.max(lowerBound(x, from) - 1, 0);
  const last = Math.min(lowerBound(x, to) + 1, x.length - 1);
  const rows = [];
  const count = last - first + 1;
  const put = (begin, end) => {
    const lows = [x[begin]];
    const highs = [x[end]];
    let differ = begin !== end;
    const before = Math.max(begin === end ? begin - 1 : begin, 0);
    const behind = Math.min(begin === end ? end + 1 : end, x.length - 1);
    for (const curve of curves) {
      if (curve.isHidden) {
        lows.push(null);
        highs.push(null);
        continue;
      }
      let low = Infinity;
      let high = -Infinity;
      for (let i = begin; i <= end; ++i) {
        if (curve.low[i] < low) low = curve.low[i];
        if (curve.high[i] > high) high = curve.high[i];
      }
      if (low === Infinity) {
        lows.push(null);
        highs.push(null);
        continue;
      }
      // The end that the curve comes from is drawn first: a steep one would go to and fro otherwise.
      const falls = curve.low[before] + curve.high[before] > curve.low[behind] + curve.high[behind];
      lows.push(falls ? high : low);
      highs.push(falls ? low : high);
      differ = differ || low !== high;
    }
    rows.push(lows);
    if (differ) rows.push(highs);
  };
  if (first > 0) put(0, 0);
  if (count <= 2 * pixels) {
    for (let i = first; i <= last; ++i) put(i, i);
  } else {
    // By place and not by number: where points are few, each is drawn.
    const width = (x[last] - x[first]) / pixels;
    for (let pixel = 1, begin = first; begin <= last; ++pixel) {
      const end = pixel < pixels ? Math.min(lowerBound(x, x[first] + width * pixel), last + 1) : last + 1;
      if (end > begin) put(begin, end - 1);
      begin = end;
    }
  }
  if (last < x.length - 1) put(x.length - 1, x.length - 1);
  return rows;
};

const lowerBound = (values, wanted) => {
  let low = 0;
  let high = values.length;
  while (low < high) {
    const middle = (low + high) >> 1;
    if (values[middle] < wanted) low = middle + 1; else high = middle;
  }
  return low;
};

// x ascending as it is drawn: of an axis that runs to the left the negative values, from behind.
const turned = (x) => {
  const result = new Float64Array(x.length);
  for (let i = 0; i < x.length; ++i) result[i] = -x[x.length - 1 - i];
  return result;
};
const fromBehind = (values) => values.slice().reverse();

const TIME_LABEL_WIDTH = 74;
const LETTER_WIDTH = 7.5;
// As much as the longest label takes.
const widthOfLabels = (axis, from, to) => axis.time ? TIME_LABEL_WIDTH
  : Math.max(...[from, to].map((x) => formatNumber(Math.round(x * 10) / 10, DOUBLE_DIGITS).length), 4) * LETTER_WIDTH + 14;

class Plot {
  // options: axis, value, curves [{name, low, high}], bands {x, values} or null, points (no lines)
  constructor(place, options) {
    Object.assign(this, {points: false, small: false, bands: null}, options);
    this.place = place;
    this.visible = this.curves.map((curve) => !curve.hidden);
    this.reversed = Boolean(this.axis.reversed);
    this.log = false;
    this.near = null;
    this.graph = null;
    this.onCursor = () => {};
    this.build();
  }

  // All that depends on the direction of the axis.
  orient() {
    const sign = this.reversed;
    this.x = sign ? turned(this.axis.x) : this.axis.x;
    this.oriented = this.curves.map((curve) => {
      if (!sign) return {low: curve.low, high: curve.high};
      const low = fromBehind(curve.low);
      return {low, high: curve.high === curve.low ? low : fromBehind(curve.high)};
    });
    if (this.bands) {
      this.bandX = sign ? turned(this.bands.x) : this.bands.x;
      this.bandValues = this.bands.values.map((values) => sign ? fromBehind(values) : values);
    }
  }

  // The file's number behind a drawn one: columns may be drawn on scales of their own.
  number(index, drawn) {
    const scale = this.curves[index].scale;
    return formatNumber(scale && drawn !== null ? scale.least + drawn * scale.span : drawn,
      digitsOf(this.curves[index].low));
  }

  shown(x) { return this.reversed ? -x : x; }
  formatX(x) { return formatOn(this.axis, this.shown(x)); }
  whole() { return [this.x[0], this.x[this.x.length - 1]]; }

  build() {
    this.orient();
    const [from, to] = this.whole();
    const pad = from === to ? Math.abs(from) * 0.05 || 1 : (to - from) * 0.005;
    this.extent = [from - pad, to + pad];
    const pixels = this.pixels();
    this.sampled = this.extent;
    const labelWidth = widthOfLabels(this.axis, from, to);
    if (this.graph) this.graph.destroy();
    this.graph = new Dygraph(this.place, this.rows(this.extent, pixels), {
      labels: ['x', ...this.curves.map((_, i) => `c${i}`)],
      visibility: this.visible,
      series: this.series(),
      legend: 'never',
      interactionModel: {...Dygraph.defaultInteractionModel, dblclick: () => this.reset()},
      labelsUTC: true,
      logscale: this.log,
      dateWindow: this.extent,
      drawPoints: this.points,
      pointSize: 2.5,
      strokeWidth: this.curves.length > MOST_PALETTE ? 0.9 : 1.4,
      connectSeparatedPoints: false,
      highlightCircleSize: 3,
      highlightSeriesBackgroundAlpha: 1,
      highlightSeriesOpts: this.points ? null : {strokeWidth: 2.6},
      axisLabelFontSize: 13,
      gridLineColor: styleOf('--grid'),
      axisLineColor: styleOf('--line'),
      xRangePad: 0,
      yRangePad: 10,
      // Half of the last label of the axis: it would be moved away from its line otherwise.
      rightGap: labelWidth / 2 + 1,
      axes: {
        x: {
          axisLabelFormatter: (x, granularity, get) => this.axis.time && !this.reversed
            ? Dygraph.dateAxisLabelFormatter(new Date(Number(x)), granularity, get) : this.formatX(Number(x)),
          valueFormatter: (x) => this.formatX(x),
          pixelsPerLabel: labelWidth,
          axisLabelWidth: labelWidth,
          ticker: this.axis.time && !this.reversed ? Dygraph.dateTicker : Dygraph.numericLinearTicks,
        },
        y: {axisLabelFormatter: (y) => formatNumber(y, DOUBLE_DIGITS), axisLabelWidth: this.small ? 52 : 62},
      },
      underlayCallback: (context, area, graph) => this.drawBands(context, area, graph),
      drawCallback: (graph) => this.drawn(graph),
      highlightCallback: (event, x, points, row, name) => this.pointed(x, points, name),
      unhighlightCallback: () => this.onCursor(null),
    });
    this.tell();
  }

  pixels() { return Math.max(Math.round((this.place.clientWidth || 800) - 100), 200); }

  rows([from, to], pixels) {
    this.oriented.forEach((curve, i) => { curve.isHidden = !this.visible[i]; });
    return drawnRows(this.x, this.oriented, from, to, pixels);
  }

  series() {
    const series = {};
    const count = this.curves.filter((curve) => !curve.band).length;
    let index = 0;
    this.curves.forEach((curve, i) => {
      const stroke = curve.band ? {color: styleOf('--text'), dash: curve.dash} : strokeOf(index++, count);
      series[`c${i}`] = {color: stroke.color, strokePattern: stroke.dash,
        ...(this.points ? {strokeWidth: 0} : {}), ...(curve.width ? {strokeWidth: curve.width} : {})};
      curve.stroke = stroke;
    });
    return series;
  }

  // The ranges between the least and greatest and between 5 % and 95 %, behind the curves.
  drawBands(context, area, graph) {
    if (!this.bands) return;
    const fill = (lower, upper, alpha) => {
      context.beginPath();
      const place = (i, values) => graph.toDomCoords(this.bandX[i], values[i]);
      for (let i = 0; i < this.bandX.length; ++i) context.lineTo(...place(i, this.bandValues[upper]));
      for (let i = this.bandX.length - 1; i >= 0; --i) context.lineTo(...place(i, this.bandValues[lower]));
      context.closePath();
      context.globalAlpha = alpha;
      context.fillStyle = styleOf('--mark');
      context.fill();
      context.globalAlpha = 1;
    };
    context.save();
    context.beginPath();
    context.rect(area.x, area.y, area.w, area.h);
    context.clip();
    fill(0, 4, 0.13);
    fill(1, 3, 0.2);
    context.restore();
  }

  // A closer look brings the points behind the pixel columns.
  drawn(graph) {
    const range = graph.xAxisRange();
    if (!this.graph || (this.sampled && range[0] === this.sampled[0] && range[1] === this.sampled[1])) return;
    clearTimeout(this.timer);
    this.timer = setTimeout(() => {
      if (!this.graph) return;
      const now = this.graph.xAxisRange();
      this.sampled = now;
      this.graph.updateOptions({file: this.rows(now, this.pixels()), dateWindow: now});
      this.tell();
    }, 60);
    this.tell();
  }

  // Where the view stands, for people's tools.
  tell() {
    const range = this.graph ? this.graph.xAxisRange() : this.extent;
    const [a, b] = this.reversed ? [-range[0], -range[1]] : range;
    this.place.dataset.left = a;
    this.place.dataset.right = b;
    this.place.dataset.curves = this.visible.filter(Boolean).length;
    this.place.dataset.scale = this.log ? 'log' : 'linear';
  }

  pointed(x, points, name) {
    this.near = name ? Number(name.slice(1)) : null;
    this.cursor = x;
    this.onCursor({x, values: new Map(points.map((point) => [Number(point.name.slice(1)), point.yval])),
      near: this.near});
  }

  // The point nearest to x, as a pointer would have it.
  setCursor(x) {
    const at = nearest(this.x, x);
    const rows = this.graph.file_ || [];
    let row = 0;
    for (let i = 1; i < rows.length; ++i) {
      if (Math.abs(rows[i][0] - this.x[at]) < Math.abs(rows[row][0] - this.x[at])) row = i;
    }
    const near = this.near !== null ? this.near : this.visible.indexOf(true);
    this.graph.setSelection(row, this.points ? undefined : `c${near}`, true);
    this.cursorIndex = at;
    this.cursor = this.x[at];
    this.near = near;
    this.onCursor({x: this.x[at], near, values: new Map(this.oriented.map((curve, i) => [i, curve.low[at]])
      .filter(([i]) => this.visible[i]))});
    this.graph.clearSelection && (this.keepSelection = true);
  }

  step(count) {
    const at = this.cursor === undefined ? Math.floor(this.x.length / 2) : nearest(this.x, this.cursor) + count;
    const x = this.x[Math.min(Math.max(at, 0), this.x.length - 1)];
    const [from, to] = this.graph.xAxisRange();
    if (x < from || x > to) this.setWindow(x - (to - from) / 2, x + (to - from) / 2);
    this.setCursor(x);
  }

  chooseNear(count) {
    const places = this.visible.map((isVisible, i) => isVisible ? i : -1).filter((i) => i >= 0);
    if (places.length === 0) return;
    const at = places.indexOf(this.near);
    this.near = places[(at + count + places.length) % places.length];
    this.setCursor(this.cursor === undefined ? this.x[Math.floor(this.x.length / 2)] : this.cursor);
  }

  setWindow(from, to) {
    const [low, high] = this.extent;
    const width = Math.min(to - from, high - low);
    const start = Math.min(Math.max(from, low), high - width);
    this.graph.updateOptions({dateWindow: [start, start + width], valueRange: null});
  }
  zoom(factor) {
    const [from, to] = this.graph.xAxisRange();
    const centre = this.cursor !== undefined && this.cursor > from && this.cursor < to ? this.cursor : (from + to) / 2;
    this.setWindow(centre - (centre - from) * factor, centre + (to - centre) * factor);
  }
  pan(share) {
    const [from, to] = this.graph.xAxisRange();
    this.setWindow(from + (to - from) * share, to + (to - from) * share);
  }
  reset() { this.setWindow(...this.extent); }

  setLog(log) {
    this.log = log && this.hasPositive();
    this.graph.updateOptions({logscale: this.log});
    this.tell();
    return this.log === log;
  }
  hasPositive() {
    return this.oriented.some((curve, i) => this.visible[i] && curve.high.some((value) => value > 0));
  }
  setReversed(reversed) {
    this.reversed = reversed;
    this.cursor = undefined;
    this.build();
  }
  setVisible(indexes, isVisible) {
    for (const i of indexes) this.visible[i] = isVisible;
    const now = this.graph.xAxisRange();
    this.graph.updateOptions({visibility: this.visible, file: this.rows(now, this.pixels()), dateWindow: now});
    this.tell();
  }
  resize() {
    this.graph.resize();
    this.sampled = null;
    this.drawn(this.graph);
  }
}

const nearest = (values, wanted) => {
  const at = lowerBound(values, wanted);
  if (at === 0) return 0;
  if (at === values.length) return values.length - 1;
  return wanted - values[at - 1] <= values[at] - wanted ? at - 1 : at;
};

// ---- The parts of the page around a plot -----------------------------------------------------------------

const swatch = (stroke) => {
  const name = 'http://www.w3.org/2000/svg';
  const picture = document.createElementNS(name, 'svg');
  picture.setAttribute('width', '26');
  picture.setAttribute('height', '10');
  picture.setAttribute('aria-hidden', 'true');
  const line = document.createElementNS(name, 'line');
  for (const [key, value] of Object.entries({x1: 0, y1: 5, x2: 26, y2: 5, 'stroke-width': 2.5, stroke: stroke.color,
    'stroke-dasharray': stroke.dash ? stroke.dash.join(' ') : 'none'})) {
    line.setAttribute(key, value);
  }
  picture.append(line);
  return picture;
};

const button = (text, label, action) => make('button', {type: 'button', textContent: text, ariaLabel: label, title: label,
  onclick: action});

const check = (text, checked, action) => {
  const box = make('input', {type: 'checkbox', checked});
  box.addEventListener('change', () => action(box.checked, box));
  return make('label', {}, box, text);
};

const KEYS = 'With the plot in focus: ← → move the cursor, ↑ ↓ choose the curve, + − zoom, page up and down move, ' +
  'home shows all. With the mouse: drag to zoom, shift and drag to move, double-click shows all.';

class Legend {
  constructor(plot) {
    this.plot = plot;
    this.items = plot.curves.map((curve, i) => {
      const value = make('span', {className: 'value'});
      const box = make('input', {type: 'checkbox', checked: plot.visible[i]});
      box.addEventListener('change', () => plot.setVisible([i], box.checked));
      const picture = make('span', {}, swatch(curve.stroke));
      const item = make('li', {}, make('label', {title: curve.name}, box, picture,
        make('span', {className: 'name', textContent: curve.name}), value));
      return {item, box, value, picture, text: curve.name.toLowerCase()};
    });
    const list = make('ul', {}, ...this.items.map(({item}) => item));
    const filter = make('input', {type: 'search', placeholder: 'Find a curve', ariaLabel: 'Find a curve in the legend'});
    filter.addEventListener('input', () => {
      for (const entry of this.items) entry.item.hidden = !entry.text.includes(filter.value.toLowerCase());
    });
    const all = (isVisible) => {
      const places = this.items.map((entry, i) => entry.item.hidden ? -1 : i).filter((i) => i >= 0);
      for (const i of places) this.items[i].box.checked = isVisible;
      plot.setVisible(places, isVisible);
    };
    this.element = make('section', {className: 'legend', ariaLabel: 'Legend'},
      make('div', {className: 'tools'}, button('All', 'Show all curves of the list', () => all(true)),
        button('None', 'Hide all curves of the list', () => all(false))),
      ...(this.items.length > 12 ? [filter] : []), list);
  }
  show(cursor) {
    this.items.forEach((entry, i) => {
      const isKnown = cursor && cursor.values.has(i);
      entry.value.textContent = isKnown ? this.plot.number(i, cursor.values.get(i)) : '';
      entry.item.classList.toggle('near', Boolean(cursor) && cursor.near === i);
    });
  }
  recolour() {
    this.items.forEach((entry, i) => entry.picture.replaceChildren(swatch(this.plot.curves[i].stroke)));
  }
}

// The plot's values as a table, for those who don't see it.
const valueTable = (plot) => {
  const details = make('details', {}, make('summary', {textContent: 'The plot as a table'}));
  details.addEventListener('toggle', () => {
    if (!details.open || details.children.length > 1) return;
    const MOST_ROWS = 100;
    const MOST_CURVES = 20;
    const curves = plot.oriented.map((curve, i) => ({curve, i, name: plot.curves[i].name}))
      .filter((_, i) => plot.visible[i]).slice(0, MOST_CURVES);
    const step = Math.max(1, Math.ceil(plot.x.length / MOST_ROWS));
    const head = make('tr', {}, ...[nameWithUnit(plot.axis), ...curves.map(({name}) => name)]
      .map((text) => make('th', {scope: 'col', textContent: text})));
    const body = make('tbody');
    for (let i = 0; i < plot.x.length; i += step) {
      body.append(make('tr', {}, make('th', {scope: 'row', className: 'number', textContent: plot.formatX(plot.x[i])}),
        ...curves.map(({curve, i: at}) => make('td', {className: 'number', textContent: plot.number(at, curve.low[i])}))));
    }
    const words = step > 1 ? `every ${step}th point` : 'every point';
    details.append(make('div', {className: 'scroll', tabIndex: 0, role: 'region', ariaLabel: 'Values of the plot'},
      make('table', {}, make('caption', {textContent: `${words}, ${counted(curves.length, 'curve')}`}),
        make('thead', {}, head), body)));
  });
  return details;
};

// Plot, tools, readout and legend; `more` are further tools in front.
const plotView = (options, more = []) => {
  const graph = make('div', {className: 'graph'});
  const readout = make('p', {className: 'readout', 'aria-live': 'polite'});
  const frame = make('div', {className: 'plot', tabIndex: 0, role: 'group', ariaLabel: options.label});
  const yName = make('p', {className: 'axis-name y', textContent: options.value});
  const xName = make('p', {className: 'axis-name x', textContent: nameWithUnit(options.axis)});
  const tools = make('div', {className: 'tools'});
  const view = make('div', {className: 'view'}, frame);
  frame.append(yName, graph, xName, readout);
  const element = make('div', {}, tools, view);
  let plot = null;
  let legend = null;
  const start = () => {
    if (plot) return;
    plot = new Plot(graph, options);
    legend = new Legend(plot);
    view.append(legend.element);
    plot.resize();
    plot.onCursor = (cursor) => {
      legend.show(cursor);
      if (!cursor) {
        readout.textContent = '';
        return;
      }
      const near = cursor.near === null ? [...cursor.values.keys()][0] : cursor.near;
      const where = `${options.axis.name} ${plot.formatX(cursor.x)}${options.axis.unit ? ` ${options.axis.unit}` : ''}`;
      readout.textContent = near === undefined || near < 0 ? where
        : `${where}, ${plot.curves[near].name}: ${plot.number(near, cursor.values.get(near))}`;
    };
    element.append(valueTable(plot));
  };
  const reverse = check('reversed axis', Boolean(options.axis.reversed), (isOn) => plot.setReversed(isOn));
  tools.append(...more,
    make('span', {className: 'group', role: 'group', ariaLabel: 'Zoom'},
      button('+', 'Zoom in', () => plot.zoom(0.5)), button('−', 'Zoom out', () => plot.zoom(2)),
      button('◀', 'Move to the left', () => plot.pan(-0.25)), button('▶', 'Move to the right', () => plot.pan(0.25)),
      button('All', 'Show the whole axis', () => plot.reset())),
    check('log scale', false, (isOn, box) => {
      if (plot.setLog(isOn)) return;
      box.checked = false;
      readout.textContent = 'No value is above 0, as a log scale needs it.';
    }), reverse);
  frame.addEventListener('keydown', (event) => {
    const actions = {
      ArrowLeft: () => plot.step(event.shiftKey ? -10 : -1), ArrowRight: () => plot.step(event.shiftKey ? 10 : 1),
      ArrowUp: () => plot.chooseNear(-1), ArrowDown: () => plot.chooseNear(1),
      '+': () => plot.zoom(0.5), '=': () => plot.zoom(0.5), '-': () => plot.zoom(2),
      PageUp: () => plot.pan(-0.25), PageDown: () => plot.pan(0.25), Home: () => plot.reset(),
    };
    if (event.target === frame && actions[event.key] && !event.ctrlKey && !event.metaKey) {
      event.preventDefault();
      actions[event.key]();
    }
  });
  element.append(make('p', {className: 'hint', textContent: KEYS}));
  for (const text of options.hints || []) element.append(make('p', {className: 'hint', textContent: text}));
  return {
    element, start,
    resize: () => plot && plot.resize(),
    restyle: () => { if (plot) { plot.build(); legend.recolour(); } },
  };
};

// ---- Spectra and chromatograms ---------------------------------------------------------------------------

const BANDS = [['greatest', 4, [2, 3]], ['95 %', 3, [6, 3]], ['median', 2, null], ['5 %', 1, [6, 3]], ['least', 0, [2, 3]]];

// Quantiles lie over fewer points than the curves may have: here they are put on the curves' axis.
const spread = (values, from, to) => {
  const result = new Float32Array(to.length);
  for (let i = 0; i < to.length; ++i) result[i] = values[nearest(from, to[i])];
  return result;
};

const curveOf = (curve) => {
  const numbers = curve.isDouble || curve.time ? doubles : floats;
  const low = numbers(curve.low);
  return {name: curve.name, low, high: curve.high ? numbers(curve.high) : low};
};
const curvesOf = (block) => block.curves.map(curveOf);

const blockView = (table, more) => {
  const block = table.block;
  const axis = {...block.axis, x: doubles(block.axis.x)};
  const curves = curvesOf(block);
  let bands = null;
  const hints = [];
  if (block.quantiles) {
    const x = doubles(block.quantiles.x);
    bands = {x, values: block.quantiles.bands.map(floats)};
    const lines = BANDS.map(([name, at, dash]) => {
      const low = spread(bands.values[at], x, axis.x);
      return {name, low, high: low, band: true, dash, width: at === 2 ? 2 : 1};
    });
    // The bands tell of all; a curve is looked at by itself.
    curves.forEach((curve) => { curve.hidden = true; });
    curves.unshift(...lines);
    hints.push(`The file has ${counted(block.count, 'curve')}. The bands show their quantiles (least, 5 %, median, 95 %, ` +
      `greatest) at each pixel column; ${block.curves.length} curves, chosen evenly, can be shown in the legend.`);
  }
  if (block.isReduced) {
    hints.push(`Each curve has ${counted(block.points, 'point')}; drawn are the least and the greatest of each of ` +
      `${counted(axis.x.length, 'stretch').replace(/stretchs/, 'stretches')}.`);
  }
  return plotView({axis, value: block.value, curves, bands, hints,
    label: `Plot: ${counted(block.count, 'curve')} of ${counted(block.points, 'point')} over ${nameWithUnit(block.axis)}`}, more);
};

// ---- Columns against a column ----------------------------------------------------------------------------

const FIRST_COLUMNS = 6;

const columnsView = (table) => {
  const source = table.plotColumns;
  const columns = source.columns.map((column) => ({...curveOf(column), time: column.time}));
  const place = make('div');
  let view = null;
  const choice = make('select', {ariaLabel: 'Horizontal axis'});
  choice.append(make('option', {value: '-1', textContent: 'row'}));
  columns.forEach((column, i) => choice.append(make('option', {value: String(i), textContent: column.name})));
  let ownScales = differInScale(columns);
  const rowsOf = () => Float64Array.from(columns[0].low, (_, i) => source.firstRow + i * source.rowsEach);
  const draw = () => {
    const at = Number(choice.value);
    const keys = at < 0 ? rowsOf() : Float64Array.from(columns[at].low);
    const order = Array.from(keys.keys()).filter((i) => Number.isFinite(keys[i])).sort((a, b) => keys[a] - keys[b]);
    let sorted = true;
    for (let i = 1; i < order.length; ++i) sorted = sorted && order[i] > order[i - 1];
    const axis = {name: at < 0 ? 'row' : columns[at].name, unit: '', time: at >= 0 && columns[at].time, reversed: false,
      x: Float64Array.from(order, (i) => keys[i])};
    const taken = (values) => values.constructor.from(order, (i) => values[i]);
    const curves = [];
    columns.forEach((column, i) => {
      if (i === at || column.time) return;
      let low = taken(column.low);
      let high = column.high === column.low ? low : taken(column.high);
      const scale = scaleOf(low, high);
      if (ownScales) {
        const isOne = high === low;
        low = low.map((value) => (value - scale.least) / scale.span);
        high = isOne ? low : high.map((value) => (value - scale.least) / scale.span);
      }
      curves.push({name: column.name, low, high, hidden: curves.length >= FIRST_COLUMNS, ...(ownScales ? {scale} : {})});
    });
    const hints = source.isReduced
      ? [`The table has ${counted(source.rows, 'row')}; drawn are the least and the greatest of each ` +
         `${counted(source.rowsEach, 'row')}.`] : [];
    const label = make('label', {}, 'Horizontal axis', choice);
    const scales = check('each on its own scale', ownScales, (isOn) => { ownScales = isOn; draw(); });
    if (axis.x.length === 0 || curves.length === 0) {
      place.replaceChildren(make('div', {className: 'tools'}, label), make('p', {textContent: 'Nothing to draw over this column.'}));
      view = null;
      return;
    }
    view = plotView({axis, value: ownScales ? 'share of each range' : curves.length === 1 ? curves[0].name : 'value', curves, points: !sorted, hints,
      label: `Plot: ${counted(curves.length, 'column')} over ${axis.name}`}, [label, scales]);
    place.replaceChildren(view.element);
    if (place.isConnected && place.clientWidth > 0) view.start();
  };
  choice.value = String(source.x);
  choice.addEventListener('change', () => { draw(); choice.focus(); });
  draw();
  return {element: place, start: () => view && view.start(), resize: () => view && view.resize(),
    restyle: () => view && view.restyle()};
};

const scaleOf = (low, high) => {
  let least = Infinity;
  let greatest = -Infinity;
  for (const value of low) if (value < least) least = value;
  for (const value of high) if (value > greatest) greatest = value;
  return {least, span: greatest > least ? greatest - least : 1, greatest};
};

// Beside a pressure in Pa a temperature would be a straight line.
const MOST_RATIO = 20;
const differInScale = (columns) => {
  const sizes = columns.filter((column) => !column.time).slice(0, FIRST_COLUMNS)
    .map(({low, high}) => scaleOf(low, high)).map(({least, greatest}) => Math.max(Math.abs(least), Math.abs(greatest)))
    .filter((size) => size > 0 && Number.isFinite(size));
  return sizes.length > 1 && Math.max(...sizes) > MOST_RATIO * Math.min(...sizes);
};

// ---- A map: spectra in the order of their time -------------------------------------------------------------

const MARGIN = {left: 66, right: 84, top: 8, bottom: 26};
const BAR = {gap: 12, width: 12};

const ticks = (from, to, count) => {
  if (!(to > from)) return [from];
  const step = 10 ** Math.floor(Math.log10((to - from) / count));
  const factor = [1, 2, 5, 10].find((f) => (to - from) / (step * f) <= count) || 10;
  const found = [];
  for (let at = Math.ceil(from / (step * factor)); at * step * factor <= to; ++at) found.push(at * step * factor);
  return found;
};

class MapView {
  constructor(table, more) {
    const map = table.block.map;
    this.table = table;
    this.map = {...map, x: doubles(map.x), y: doubles(map.y), values: floats(map.values)};
    this.xAxis = table.block.axis;
    this.yAxis = map.axis;
    this.window = null;
    this.log = false;
    this.range = [Infinity, -Infinity];
    for (const value of this.map.values) {
      if (value < this.range[0]) this.range[0] = value;
      if (value > this.range[1]) this.range[1] = value;
    }
    this.cursor = this.strongest();
    this.canvas = make('canvas', {tabIndex: 0, role: 'img',
      ariaLabel: `Map of ${table.block.value}: ${nameWithUnit(this.xAxis)} upwards, ${nameWithUnit(this.yAxis)} to the right`});
    this.readout = make('p', {className: 'readout', 'aria-live': 'polite'});
    this.spectrum = make('div', {className: 'graph small'});
    this.trace = make('div', {className: 'graph small'});
    this.spectrumName = make('p', {className: 'axis-name y'});
    this.traceName = make('p', {className: 'axis-name y'});
    this.scale = make('p', {className: 'hint'});
    const tools = make('div', {className: 'tools'}, ...more,
      make('span', {className: 'group', role: 'group', ariaLabel: 'Zoom'},
        button('+', 'Zoom in', () => this.zoom(0.5)), button('−', 'Zoom out', () => this.zoom(2)),
        button('All', 'Show the whole map', () => this.show(null))),
      check('log colours', false, (isOn) => { this.log = isOn; this.paint(); }));
    this.element = make('div', {}, tools,
      make('p', {className: 'axis-name y', textContent: nameWithUnit(this.xAxis)}),
      make('div', {className: 'map'}, this.canvas),
      make('p', {className: 'axis-name x', textContent: nameWithUnit(this.yAxis)}),
      this.readout, this.scale,
      make('div', {className: 'slices'},
        make('div', {}, this.spectrumName, this.spectrum,
          make('p', {className: 'axis-name x', textContent: nameWithUnit(this.xAxis)})),
        make('div', {}, this.traceName, this.trace,
          make('p', {className: 'axis-name x', textContent: nameWithUnit(this.yAxis)}))),
      make('p', {className: 'hint', textContent: 'With the map in focus: the arrow keys move the cursor, + − zoom, home shows ' +
        'all. With the mouse: drag to zoom, double-click shows all.'}),
      ...(map.isReduced ? [make('p', {className: 'hint', textContent:
        'Each cell of the map shows the greatest of the values that lie in it.'})] : []));
    this.listen();
  }

  // Time runs to the right and the spectrum upwards, as such maps are drawn.
  get across() { return this.map.y; }
  get upwards() { return this.map.x; }
  value(row, col) { return this.map.values[row * this.map.x.length + col]; }

  strongest() {
    let best = 0;
    const values = this.map.values;
    for (let i = 1; i < values.length; ++i) if (!(values[i] <= values[best])) best = i;
    return {row: Math.floor(best / this.map.x.length), col: best % this.map.x.length};
  }

  start() {
    if (this.spectrumPlot) return;
    const one = (place, axis, x, values) => new Plot(place, {axis: {...axis, x}, value: '', small: true,
      curves: [{name: '', low: values, high: values}]});
    this.spectrumPlot = one(this.spectrum, this.xAxis, this.map.x, this.spectrumValues());
    this.tracePlot = one(this.trace, {...this.yAxis, reversed: false}, this.map.y, this.traceValues());
    this.paint();
    this.tell();
  }
  resize() {
    if (!this.spectrumPlot) return;
    this.paint();
    this.spectrumPlot.resize();
    this.tracePlot.resize();
  }
  restyle() {
    if (!this.spectrumPlot) return;
    this.spectrumPlot.build();
    this.tracePlot.build();
    this.paint();
  }

  spectrumValues() {
    const from = this.cursor.row * this.map.x.length;
    return this.map.values.slice(from, from + this.map.x.length);
  }
  traceValues() {
    return Float32Array.from(this.map.y, (_, row) => this.value(row, this.cursor.col));
  }

  // Edges of the cells: halfway to the neighbours.
  static edge(values, at) {
    const last = values.length - 1;
    if (last === 0) return values[0] + at - 0.5;
    if (at <= 0) return values[0] - (values[1] - values[0]) / 2;
    if (at > last) return values[last] + (values[last] - values[last - 1]) / 2;
    return (values[at - 1] + values[at]) / 2;
  }
  full() {
    const {across, upwards} = this;
    return {left: MapView.edge(across, 0), right: MapView.edge(across, across.length),
      bottom: MapView.edge(upwards, 0), top: MapView.edge(upwards, upwards.length)};
  }
  area() {
    return {x: MARGIN.left, y: MARGIN.top, w: this.width - MARGIN.left - MARGIN.right, h: this.height - MARGIN.top - MARGIN.bottom};
  }

  // What the darkest colour stands for.
  floor() { return this.log ? this.range[1] / 1e4 : this.range[0]; }

  // Where a value stands between the darkest and the brightest colour.
  shareOf(value) {
    const [least, greatest] = this.range;
    if (!this.log) return greatest > least ? (value - least) / (greatest - least) : 0;
    const floor = this.floor();
    return value <= floor ? 0 : Math.log(value / floor) / Math.log(greatest / floor);
  }

  paint() {
    const ratio = devicePixelRatio || 1;
    this.width = this.canvas.clientWidth;
    this.height = this.canvas.clientHeight;
    if (this.width < 120) return;
    this.canvas.width = Math.round(this.width * ratio);
    this.canvas.height = Math.round(this.height * ratio);
    const context = this.canvas.getContext('2d', {willReadFrequently: true});
    context.setTransform(ratio, 0, 0, ratio, 0, 0);
    const view = this.window || this.full();
    const area = this.area();
    const {across, upwards} = this;
    // One pixel of the picture a screen's pixel: the cell that lies there.
    const picture = context.createImageData(Math.max(Math.round(area.w * ratio), 1), Math.max(Math.round(area.h * ratio), 1));
    const rows = new Int32Array(picture.width);
    for (let i = 0; i < picture.width; ++i) {
      rows[i] = nearest(across, view.left + (view.right - view.left) * (i + 0.5) / picture.width);
    }
    const colours = Array.from({length: 256}, (_, i) => colourOfShare(i / 255));
    const greatest = this.range[1];
    for (let j = 0; j < picture.height; ++j) {
      const col = nearest(upwards, view.top + (view.bottom - view.top) * (j + 0.5) / picture.height);
      for (let i = 0; i < picture.width; ++i) {
        const value = this.value(rows[i], col);
        const at = 4 * (j * picture.width + i);
        if (Number.isFinite(value)) {
          const [r, g, b] = colours[Math.round(Math.min(Math.max(this.shareOf(value), 0), 1) * 255)];
          picture.data[at] = r;
          picture.data[at + 1] = g;
          picture.data[at + 2] = b;
          picture.data[at + 3] = 255;
        }
      }
    }
    context.putImageData(picture, Math.round(area.x * ratio), Math.round(area.y * ratio));
    this.image = context.getImageData(0, 0, this.canvas.width, this.canvas.height);
    this.paintAxes(context, view, area);
    this.scale.textContent = `Dark is ${formatNumber(this.floor())}, bright is ${formatNumber(greatest)}` +
      `${this.log ? ', in equal ratios' : ''} (${this.table.block.value}).`;
    this.canvas.dataset.left = view.left;
    this.canvas.dataset.right = view.right;
  }

  placeOf(row, col) {
    const view = this.window || this.full();
    const area = this.area();
    return [area.x + area.w * (this.across[row] - view.left) / (view.right - view.left),
      area.y + area.h * (view.top - this.upwards[col]) / (view.top - view.bottom)];
  }

  paintAxes(context, view, area) {
    context.font = '13px system-ui, sans-serif';
    context.fillStyle = styleOf('--text');
    context.strokeStyle = styleOf('--line');
    context.strokeRect(area.x - 0.5, area.y - 0.5, area.w + 1, area.h + 1);
    context.textAlign = 'center';
    context.textBaseline = 'top';
    for (const at of ticks(view.left, view.right, Math.max(Math.floor(area.w / widthOfLabels(this.yAxis, view.left, view.right)), 2))) {
      const x = area.x + area.w * (at - view.left) / (view.right - view.left);
      context.fillText(formatOn(this.yAxis, at), x, area.y + area.h + 7);
      context.fillRect(x, area.y + area.h, 1, 5);
    }
    context.textAlign = 'right';
    context.textBaseline = 'middle';
    for (const at of ticks(view.bottom, view.top, 7)) {
      const y = area.y + area.h * (view.top - at) / (view.top - view.bottom);
      context.fillText(formatOn(this.xAxis, at), area.x - 9, y);
      context.fillRect(area.x - 5, y, 5, 1);
    }
    this.paintBar(context, area);
    const [x, y] = this.placeOf(this.cursor.row, this.cursor.col);
    context.save();
    context.beginPath();
    context.rect(area.x, area.y, area.w, area.h);
    context.clip();
    for (const [colour, width] of [['#000000', 3], ['#ffffff', 1]]) {
      context.strokeStyle = colour;
      context.lineWidth = width;
      context.globalAlpha = width === 3 ? 0.35 : 0.95;
      context.beginPath();
      context.moveTo(x, area.y);
      context.lineTo(x, area.y + area.h);
      context.moveTo(area.x, y);
      context.lineTo(area.x + area.w, y);
      context.stroke();
    }
    context.restore();
    if (this.box) {
      context.strokeStyle = '#ffffff';
      context.strokeRect(this.box.x, this.box.y, this.box.w, this.box.h);
    }
  }

  // Which colour is which value.
  paintBar(context, area) {
    const x = area.x + area.w + BAR.gap;
    const [, greatest] = this.range;
    const least = this.floor();
    for (let i = 0; i < area.h; ++i) {
      context.fillStyle = `rgb(${colourOfShare(1 - i / area.h)})`;
      context.fillRect(x, area.y + i, BAR.width, 1.5);
    }
    context.fillStyle = styleOf('--text');
    context.textAlign = 'left';
    const marks = this.log ? [greatest, greatest / 10, greatest / 100, greatest / 1000, least] : ticks(least, greatest, 6);
    for (const value of marks) {
      const y = area.y + area.h * (1 - this.shareOf(value));
      context.fillRect(x + BAR.width, y, 4, 1);
      context.fillText(formatNumber(value, this.log ? 3 : DOUBLE_DIGITS), x + BAR.width + 7, y, MARGIN.right - BAR.gap - BAR.width - 8);
    }
  }

  // The cursor alone over the picture that is there.
  repaint() {
    const context = this.canvas.getContext('2d');
    if (!this.image) return;
    context.putImageData(this.image, 0, 0);
    this.paintAxes(context, this.window || this.full(), this.area());
  }

  tell() {
    const {row, col} = this.cursor;
    const unit = (axis) => axis.unit ? ` ${axis.unit}` : '';
    const time = `${this.yAxis.name} ${formatOn(this.yAxis, this.map.y[row])}${unit(this.yAxis)}`;
    const place = `${this.xAxis.name} ${formatOn(this.xAxis, this.map.x[col])}${unit(this.xAxis)}`;
    this.readout.textContent = `${time}, ${place}: ${formatNumber(this.value(row, col))}`;
    this.spectrumName.textContent = `At ${time}`;
    this.traceName.textContent = `At ${place}`;
    const set = (plot, values) => {
      plot.curves[0].low = values;
      plot.curves[0].high = values;
      plot.orient();
      plot.graph.updateOptions({file: plot.rows(plot.graph.xAxisRange(), plot.pixels())});
    };
    if (this.spectrumPlot) {
      set(this.spectrumPlot, this.spectrumValues());
      set(this.tracePlot, this.traceValues());
    }
  }

  move(row, col) {
    const next = {row: Math.min(Math.max(row, 0), this.map.y.length - 1), col: Math.min(Math.max(col, 0), this.map.x.length - 1)};
    if (next.row === this.cursor.row && next.col === this.cursor.col) return;
    this.cursor = next;
    this.repaint();
    this.tell();
  }

  show(view) {
    this.window = view;
    this.paint();
  }
  zoom(factor) {
    const view = this.window || this.full();
    const x = this.map.y[this.cursor.row];
    const y = this.map.x[this.cursor.col];
    const full = this.full();
    const next = {
      left: Math.max(x - (x - view.left) * factor, full.left), right: Math.min(x + (view.right - x) * factor, full.right),
      bottom: Math.max(y - (y - view.bottom) * factor, full.bottom), top: Math.min(y + (view.top - y) * factor, full.top),
    };
    this.show(next.left < next.right && next.bottom < next.top ? next : null);
  }

  listen() {
    const inside = (event) => {
      const box = this.canvas.getBoundingClientRect();
      const area = this.area();
      return [Math.min(Math.max(event.clientX - box.left, area.x), area.x + area.w),
        Math.min(Math.max(event.clientY - box.top, area.y), area.y + area.h)];
    };
    const dataAt = ([x, y]) => {
      const view = this.window || this.full();
      const area = this.area();
      return [view.left + (view.right - view.left) * (x - area.x) / area.w, view.top + (view.bottom - view.top) * (y - area.y) / area.h];
    };
    let from = null;
    this.canvas.addEventListener('pointerdown', (event) => {
      from = inside(event);
      this.canvas.setPointerCapture(event.pointerId);
    });
    this.canvas.addEventListener('pointermove', (event) => {
      const to = inside(event);
      const [x, y] = dataAt(to);
      if (from && Math.hypot(to[0] - from[0], to[1] - from[1]) > 4) {
        this.box = {x: Math.min(from[0], to[0]), y: Math.min(from[1], to[1]), w: Math.abs(to[0] - from[0]), h: Math.abs(to[1] - from[1])};
      }
      this.move(nearest(this.across, x), nearest(this.upwards, y));
      if (this.box) this.repaint();
    });
    this.canvas.addEventListener('pointerup', () => {
      const box = this.box;
      this.box = null;
      from = null;
      if (box && box.w > 6 && box.h > 6) {
        const [left, top] = dataAt([box.x, box.y]);
        const [right, bottom] = dataAt([box.x + box.w, box.y + box.h]);
        this.show({left, right, bottom, top});
      } else if (box) {
        this.repaint();
      }
    });
    this.canvas.addEventListener('dblclick', () => this.show(null));
    this.canvas.addEventListener('keydown', (event) => {
      const far = event.shiftKey ? 10 : 1;
      const {row, col} = this.cursor;
      const actions = {
        ArrowLeft: () => this.move(row - far, col), ArrowRight: () => this.move(row + far, col),
        ArrowUp: () => this.move(row, col + far), ArrowDown: () => this.move(row, col - far),
        '+': () => this.zoom(0.5), '=': () => this.zoom(0.5), '-': () => this.zoom(2), Home: () => this.show(null),
      };
      if (actions[event.key] && !event.ctrlKey && !event.metaKey) {
        event.preventDefault();
        actions[event.key]();
      }
    });
  }
}

// ---- Curves and map in turn --------------------------------------------------------------------------------

const curvesAndMap = (table) => {
  const place = make('div');
  const views = {};
  let shown = null;
  const choose = (name) => {
    shown = name;
    const switches = ['map', 'curves'].map((other) => {
      const choice = button(other === 'map' ? 'Map' : 'Curves', other === 'map' ? 'As a map' : 'As curves', () => {
        choose(other);
        place.querySelector('[aria-pressed=true]').focus();
      });
      choice.setAttribute('aria-pressed', String(other === name));
      return choice;
    });
    const group = make('span', {className: 'group', role: 'group', ariaLabel: 'Kind of picture'}, ...switches);
    if (!views[name]) {
      const holder = make('span', {className: 'group'});
      views[name] = name === 'map' ? new MapView(table, [holder]) : blockView(table, [holder]);
      views[name].holder = holder;
    }
    views[name].holder.replaceChildren(group);
    place.replaceChildren(views[name].element);
    if (place.isConnected && place.clientWidth > 0) views[name].start();
  };
  choose(table.block.map.isFirst ? 'map' : 'curves');
  const each = (act) => Object.values(views).forEach((view) => view.element.isConnected && act(view));
  return {element: place, start: () => views[shown].start(), resize: () => each((view) => view.resize()),
    restyle: () => each((view) => view.restyle())};
};

// ---- What stands below a plot ------------------------------------------------------------------------------

const headTable = (table) => {
  const head = table.head;
  const shownRows = head.rows.length;
  const names = head.names || head.rows.length && head.rows[0].map((_, i) => String(i + 1)) || [];
  const row = make('tr', {}, make('th', {scope: 'col', textContent: 'row'}), ...names.map((name, i) =>
    make('th', {scope: 'col', textContent: name, title: name, className: head.isNumber[i] ? 'number' : ''})));
  const body = make('tbody', {}, ...head.rows.map((cells, i) => make('tr', {},
    make('th', {scope: 'row', className: 'number', textContent: String(head.firstRow + i)}),
    ...cells.map((text, at) => make('td', {textContent: text, className: head.isNumber[at] ? 'number' : ''})))));
  const caption = `${counted(table.rows, 'row')}, ${counted(table.columns, 'column')}; here the first ` +
    `${counted(shownRows, 'row')}${names.length < table.columns ? ` and ${counted(names.length, 'column')}` : ''}`;
  return make('section', {ariaLabel: 'Head of the table'}, make('h2', {textContent: 'Table'}),
    make('div', {className: 'scroll', tabIndex: 0, role: 'region', ariaLabel: 'Head of the table'},
      make('table', {}, make('caption', {textContent: caption}), make('thead', {}, row), body)));
};

const aboutSection = (table) => {
  const section = make('section', {ariaLabel: 'About the file'});
  if (table.notes.length > 0) {
    section.append(make('h2', {textContent: 'Notes'}),
      make('ul', {className: 'notes'}, ...table.notes.map((text) => make('li', {textContent: text}))));
  }
  const list = make('dl');
  for (const [name, value] of [['file', table.file], ['format', `${table.format} (${table.reason})`], ...table.facts]) {
    list.append(make('dt', {textContent: name}), make('dd', {textContent: value}));
  }
  section.append(make('h2', {textContent: 'Facts'}), list);
  return section;
};

const panelOf = (table) => {
  const panel = make('div', {});
  let view = null;
  if (table.error) {
    panel.append(make('p', {className: 'alert', role: 'alert', textContent: table.error}));
  } else if (table.block) {
    view = table.block.map ? curvesAndMap(table) : blockView(table);
  } else if (table.plotColumns) {
    view = columnsView(table);
  }
  if (view) {
    panel.append(view.element);
  } else if (!table.error) {
    panel.append(make('p', {className: 'hint', textContent: 'The table has no column of numbers to draw.'}));
  }
  const about = make('div', {className: 'about'});
  if (table.head) about.append(headTable(table));
  about.append(aboutSection(table));
  panel.append(about);
  return {panel, view};
};

// ---- The page ----------------------------------------------------------------------------------------------

const start = () => {
  document.title = `${data.title} – karta-import`;
  document.getElementById('title').textContent = data.title;
  document.getElementById('subtitle').textContent = data.subtitle;
  if (data.files.length > 0) {
    document.querySelector('header').append(make('details', {className: 'files'}, make('summary', {textContent: 'All files'}),
      make('ul', {}, ...data.files.map((text) => make('li', {textContent: text})))));
  }
  document.getElementById('maker').textContent = `Made by ${data.generator}. Plots by dygraphs (MIT licence).`;
  const tabs = document.getElementById('tabs');
  const panels = document.getElementById('panels');
  const made = [];
  const choose = (index, takeFocus) => {
    data.tables.forEach((table, i) => {
      const isChosen = i === index;
      if (isChosen && !made[i]) {
        made[i] = panelOf(table);
        shells[i].append(made[i].panel);
      }
      shells[i].hidden = !isChosen;
      if (buttons[i]) {
        buttons[i].setAttribute('aria-selected', String(isChosen));
        buttons[i].tabIndex = isChosen ? 0 : -1;
      }
    });
    if (takeFocus) buttons[index].focus();
    if (made[index].view) {
      made[index].view.start();
      made[index].view.resize();
    }
  };
  const isMany = data.tables.length > 1;
  const shells = data.tables.map((_, i) => make('div', isMany
    ? {id: `panel${i}`, role: 'tabpanel', 'aria-labelledby': `tab${i}`} : {id: `panel${i}`}));
  panels.append(...shells);
  const buttons = isMany ? data.tables.map((table, i) => make('button', {type: 'button', id: `tab${i}`, role: 'tab',
    'aria-controls': `panel${i}`, textContent: table.title, title: table.title, onclick: () => choose(i, false)})) : [];
  tabs.append(...buttons);
  tabs.hidden = !isMany;
  tabs.addEventListener('keydown', (event) => {
    const at = buttons.indexOf(document.activeElement);
    const to = {ArrowLeft: at - 1, ArrowRight: at + 1, Home: 0, End: buttons.length - 1}[event.key];
    if (at >= 0 && to !== undefined) {
      event.preventDefault();
      choose((to + buttons.length) % buttons.length, true);
    }
  });
  const each = (act) => made.forEach((one, i) => one && one.view && !shells[i].hidden && act(one.view));
  let timer = 0;
  addEventListener('resize', () => {
    clearTimeout(timer);
    timer = setTimeout(() => each((view) => view.resize()), 100);
  });
  darkness.addEventListener('change', () => made.forEach((one) => one && one.view && one.view.restyle()));
  choose(0, false);
  document.documentElement.dataset.ready = 'yes';
};

start();
})();
