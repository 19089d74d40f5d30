// Black and white points from the page itself, as ordinary tone steps.

import { NEW_STEP, keepSpan } from './options.mjs';

const channel = (histogram, c) => histogram.subarray(256 * c, 256 * (c + 1));

// The level below which `part` of the counts lie, or above which where fromAbove is set.
function percentile(counts, part, fromAbove = false) {
    const total = counts.reduce((sum, count) => sum + count, 0);
    let sum = 0;
    for (let i = 0; i < 256; ++i) {
        const level = fromAbove ? 255 - i : i;
        sum += counts[level];
        if (sum > total * part) {
            return level;
        }
    }
    return fromAbove ? 0 : 255;
}

// A histogram of red, green, blue and luminance after tables. What a stretch pulls apart is spread over the gap and
// smoothed, so that it shows no comb.
export function mapHistogram(histogram, tables) {
    const mapped = new Float64Array(1024);
    for (let c = 0; c < 4; ++c) {
        const table = tables.subarray(256 * (c % 3), 256 * (c % 3) + 256);
        for (let i = 0; i < 256; ++i) {
            const from = table[i];
            const width = i < 255 ? Math.max(table[i + 1] - from, 1) : 1;
            for (let k = 0; k < width; ++k) {
                mapped[256 * c + from + k] += histogram[256 * c + i] / width;
            }
        }
    }
    return smooth(smooth(mapped));
}

function smooth(counts) {
    return counts.map((count, i) => {
        const at = i % 256;
        return (counts[at > 0 ? i - 1 : i] + 2 * count + counts[at < 255 ? i + 1 : i]) / 4;
    });
}

// --levels from the channels together: `cut` of each side's samples may be lost. { step, notice }.
export function autoLevels(histogram, colour, cut = 0.005) {
    const channels = colour ? [0, 1, 2] : [0];
    const black = Math.min(...channels.map((c) => percentile(channel(histogram, c), cut)));
    const white = Math.max(...channels.map((c) => percentile(channel(histogram, c), cut, true)));
    if (white - black < 8) {
        return { step: null, notice: 'The page has too few tones for automatic levels; nothing was changed.' };
    }
    const [low, high] = keepSpan(black, white, 'white');
    return { step: { ...NEW_STEP.levels(), black: low, white: high }, notice: `Levels ${low} to ${high}, from the page.` };
}

// The paper: the commonest level of the bright half of a channel, of levels that are not burnt out.
function paperLevel(counts) {
    const middle = percentile(counts, 0.5);
    const smooth = (i) => [-2, -1, 0, 1, 2].reduce((sum, d) => sum + (counts[Math.min(Math.max(i + d, 0), 255)]), 0);
    let best = Math.max(middle, 1);
    for (let level = best; level < 256; ++level) {
        if (smooth(level) > smooth(best)) {
            best = level;
        }
    }
    return best;
}

// The paper's colour becomes neutral white: a shift of the highlights that gives the channels one level, then levels that
// make it white. `fold` is engine.fold. { steps, notice }.
export function autoWhite(histogram, colour, fold) {
    const channels = colour ? [0, 1, 2] : [0];
    const paper = channels.map((c) => paperLevel(channel(histogram, c)));
    const target = Math.max(...paper);
    if (target < 64) {
        return { steps: [], notice: 'The page has no bright paper; nothing was changed.' };
    }
    const steps = [];
    let reached = paper;
    if (colour && paper.some((level) => level !== target)) {
        const levelAt = (amount) => {
            const tables = fold([{ ...NEW_STEP.balance(), group: 'highlights', shift: [amount, amount, amount] }]);
            return paper.map((level, c) => tables[256 * c + level]);
        };
        const shift = [0, 0, 0];
        reached = [...paper];
        for (let amount = 1; amount <= 100; ++amount) {
            levelAt(amount).forEach((level, c) => {
                if (Math.abs(level - target) < Math.abs(reached[c] - target)) {
                    reached[c] = level;
                    shift[c] = amount;
                }
            });
        }
        steps.push({ ...NEW_STEP.balance(), group: 'highlights', shift });
    }
    const [black, white] = keepSpan(0, Math.min(...reached), 'black');
    if (white < 255) {
        steps.push({ ...NEW_STEP.levels(), black, white });
    }
    const notice = steps.length === 0 ? 'The paper is white already.'
        : `The paper was ${paper.join(', ')}; it becomes white.`;
    return { steps, notice };
}
