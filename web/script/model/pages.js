// The first page, the last one and those around this one; null for omitted pages between them.
export function pagesToOffer(page, count) {
  const offered = [0, page - 1, page, page + 1, count - 1].filter((number) => number >= 0 && number < count);
  const numbers = [...new Set(offered)].sort((a, b) => a - b);
  return numbers.flatMap((number, index) => {
    const skipped = index === 0 ? 0 : number - numbers[index - 1] - 1;
    if (skipped === 0) return [number];
    return skipped === 1 ? [number - 1, number] : [null, number];
  });
}
