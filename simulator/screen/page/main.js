import { Hand } from "./hand.js";
import { Link } from "./link.js";
import { SetView } from "./set.js";
import { Traffic } from "./traffic.js";
import { Tv } from "./tv.js";

const connection = document.getElementById("connection");
const clock = document.getElementById("clock");
const story = document.getElementById("story");

function time(ms) {
  const seconds = Math.floor(ms / 1000);
  const two = (number) => String(number).padStart(2, "0");
  return `${two(Math.floor(seconds / 3600))}:${two(Math.floor(seconds / 60) % 60)}:${two(seconds % 60)}`;
}

function draw(state, traffic, lost) {
  const words = `virtual time ${time(state.set.now)}`;
  if (clock.textContent !== words) {
    clock.textContent = words;
  }
  const told = state.story
    ? `${state.story.name}: ${state.story.over ?? (state.story.step || state.story.description)}`
    : "";
  if (story.textContent !== told) {
    story.textContent = told;
  }
  story.hidden = told === "";
  setView.draw(state);
  tv.draw(state);
  hand.draw(state);
  trafficView.draw(traffic, lost);
}

const link = new Link(draw, (isThere) => {
  connection.textContent = isThere ? "connected" : "no connection: trying again";
  connection.className = isThere ? "good" : "bad";
  document.body.classList.toggle("lost", !isThere);
  if (isThere) {
    trafficView.clear();
  }
});
const setView = new SetView(link);
const tv = new Tv(link);
const hand = new Hand(link);
const trafficView = new Traffic(link);
