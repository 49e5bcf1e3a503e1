/** Seconds as HH:MM:SS.mmm, the form in which trackers expect playheads. */
export function playheadText(seconds: number): string {
  const total = Math.max(0, Math.round(seconds * 1000));
  const part = (value: number, digits: number) => String(value).padStart(digits, "0");
  const hours = Math.floor(total / 3_600_000);
  const minutes = Math.floor(total / 60_000) % 60;
  return `${part(hours, 2)}:${part(minutes, 2)}:${part(Math.floor(total / 1000) % 60, 2)}.${part(total % 1000, 3)}`;
}

/** Seconds as M:SS, for viewers. */
export function countdownText(seconds: number): string {
  const whole = Math.max(0, Math.ceil(seconds));
  return `${Math.floor(whole / 60)}:${String(whole % 60).padStart(2, "0")}`;
}
