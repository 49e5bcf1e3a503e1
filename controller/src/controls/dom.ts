import { iconPaths, type IconName } from "./icons";

export function element<K extends keyof HTMLElementTagNameMap>(
  tag: K,
  className: string,
  ...children: Array<Node | string>
): HTMLElementTagNameMap[K] {
  const made = document.createElement(tag);
  made.className = className;
  made.append(...children);
  return made;
}

const svgNamespace = "http://www.w3.org/2000/svg";

export function icon(name: IconName): SVGSVGElement {
  const svg = document.createElementNS(svgNamespace, "svg");
  svg.setAttribute("viewBox", "0 0 24 24");
  svg.setAttribute("aria-hidden", "true");
  svg.classList.add("icon");
  setIcon(svg, name);
  return svg;
}

export function setIcon(svg: SVGSVGElement, name: IconName): void {
  if (svg.dataset.name === name) return;
  svg.dataset.name = name;
  const path = document.createElementNS(svgNamespace, "path");
  path.setAttribute("d", iconPaths[name]);
  svg.textContent = "";
  svg.append(path);
}

/** Screen readers repeat whatever is written, so an unchanged text is not written again. */
export function setText(target: HTMLElement, text: string): void {
  if (target.textContent !== text) target.textContent = text;
}

export function button(className: string, label: string, ...children: Array<Node | string>): HTMLButtonElement {
  const made = element("button", className, ...children);
  made.type = "button";
  setLabel(made, label);
  return made;
}

export function setLabel(target: HTMLElement, label: string): void {
  if (target.getAttribute("aria-label") !== label) target.setAttribute("aria-label", label);
}
