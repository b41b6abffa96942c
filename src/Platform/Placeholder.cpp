// stands in until the room has its first source
